#include "qiv/log.h"

#include "internal/checked_text.h"
#include "qiv/text.h"

#include <ctime>
#include <iomanip>
#include <mutex>
#include <sstream>
#include <stdexcept>

namespace Qiv {

using Clock = std::chrono::system_clock;

namespace {

unsigned long nanoseconds(const Clock::time_point& time) {
  return static_cast<unsigned long>(std::chrono::nanoseconds(time.time_since_epoch()).count());
}

/// As localtime notices a changed time zone, which localtime_r alone does not.
std::tm localTime(std::time_t seconds) {
  static std::mutex mutex; // the C library's own lock is hidden from race detectors
  const std::lock_guard lock(mutex);
  tzset();
  std::tm local;
  if (!localtime_r(&seconds, &local))
    throw std::out_of_range("DateTimeHelper: The calendar cannot hold this time");
  return local;
}

} // namespace

long DateTimeHelper::getTimeNowSniceEpochMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch())
      .count();
}

std::string DateTimeHelper::getDisplayTimeString(long seconds, const char* format) {
  if (seconds == 0)
    return {};
  const std::tm local = localTime(seconds);
  std::ostringstream text;
  text.exceptions(std::ios_base::badbit);
  text << std::put_time(&local, internal::checkedText(format));
  return text.str();
}

std::string DateTimeHelper::getDisplayTimeString(const Clock::time_point& time,
                                                 const char* format) {
  if (time <= Clock::time_point())
    return {};
  return getDisplayTimeString(Clock::to_time_t(time), format);
}

std::string DateTimeHelper::getDisplayDurationString(const Clock::time_point& start,
                                                     const Clock::time_point& end,
                                                     const char* format) {
  if (end <= start)
    return {};
  // Unsigned, since the span of two time points may be twice the range of one.
  const unsigned long seconds = (nanoseconds(end) - nanoseconds(start)) / 1000000000;
  return StringHelper::formatC(format, static_cast<int>(seconds / 3600),
                               static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
}

} // namespace Qiv
