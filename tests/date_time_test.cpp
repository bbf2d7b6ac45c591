#include "qiv/log.h"

#include <climits>
#include <clocale>
#include <gtest/gtest.h>
#include <iomanip>
#include <sstream>

using Qiv::DateTimeHelper;

namespace {

auto at(long nanoseconds) {
  return std::chrono::system_clock::time_point(std::chrono::nanoseconds(nanoseconds));
}

TEST(DateTimeHelper, WritesWhatPutTimeWrites) {
  const std::string format = "%c|%x %X|%Z %z|%-d %%%" + std::string(65536, '.');
  for (const char* locale : {"C", "ru_RU.UTF-8"}) {
    if (setlocale(LC_ALL, locale)) // installed
      std::locale::global(std::locale(locale));
    for (const char* zone : {"UTC0", "<+0545>-5:45", "Europe/Berlin"})
      for (const long seconds : {1L, -1L, 1700000000L, -62135596801L, 1L << 55}) {
        setenv("TZ", zone, 1);
        const std::string text = DateTimeHelper::getDisplayTimeString(seconds, format.c_str());
        std::ostringstream expected;
        expected << std::put_time(std::localtime(&seconds), format.c_str());
        EXPECT_EQ(text, expected.str());
      }
  }
  EXPECT_EQ(DateTimeHelper::getDisplayTimeString(at(1999999999), "%s"), "1");
}

TEST(DateTimeHelper, HasNoTextForSomeTimes) {
  EXPECT_EQ(DateTimeHelper::getDisplayTimeString(0, nullptr), "");
  for (const long nanoseconds : {LONG_MIN, -1L, 0L, 1L, 999999999L})
    EXPECT_EQ(DateTimeHelper::getDisplayTimeString(at(nanoseconds), nullptr), "");
  EXPECT_THROW(DateTimeHelper::getDisplayTimeString(1, nullptr), std::logic_error);
  EXPECT_THROW(DateTimeHelper::getDisplayTimeString(LONG_MAX, "%Y"), std::out_of_range);
}

TEST(DateTimeHelper, WritesDurations) {
  const struct {
    long start, end;
    const char *format, *expected;
  } rows[] = {
      {5, 5, nullptr, ""},
      {5, LONG_MIN, nullptr, ""},
      {5, 6, "%d %d %d", "0 0 0"},
      {0, 59999999999, "%02d:%02d:%02d", "00:00:59"},
      {-1000000000, 90060000000000, "%02d:%02d:%02d", "25:01:01"},
      {LONG_MIN, LONG_MAX, "%02d:%02d:%02d", "5124095:34:33"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(DateTimeHelper::getDisplayDurationString(at(row.start), at(row.end), row.format),
              row.expected);
  EXPECT_THROW(DateTimeHelper::getDisplayDurationString(at(5), at(6), nullptr), std::logic_error);
}

TEST(DateTimeHelper, TellsTheTime) {
  EXPECT_NEAR(static_cast<double>(DateTimeHelper::getTimeNowSniceEpochMs()) / 1000,
              static_cast<double>(std::time(nullptr)), 60);
}

} // namespace
