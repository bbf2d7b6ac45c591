#include "qiv/log.h"

#include "internal/checked_text.h"
#include "internal/local_time.h"
#include "qiv/text.h"

#include <iomanip>
#include <sstream>

namespace Qiv {

using Clock = std::chrono::system_clock;

namespace {

std::uint64_t nanoseconds(const Clock::time_point& time) {
  return static_cast<std::uint64_t>(std::chrono::nanoseconds(time.time_since_epoch()).count());
}

} // namespace

std::int64_t DateTimeHelper::getTimeNowSniceEpochMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch())
      .count();
}

std::string DateTimeHelper::getDisplayTimeString(std::int64_t seconds, const char* format) {
  if (seconds == 0)
    return {};
  const std::tm local = internal::localTime(seconds);
  std::ostringstream text;
  text.exceptions(std::ios_base::badbit);
  text << std::put_time(&local, internal::checkedText(format));
  return text.str();
}

std::string DateTimeHelper::getDisplayTimeString(const Clock::time_point& time,
                                                 const char* format) {
  if (time <= Clock::time_point())
    return {};
  return getDisplayTimeString(
      std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count(), format);
}

std::string DateTimeHelper::getDisplayDurationString(const Clock::time_point& start,
                                                     const Clock::time_point& end,
                                                     const char* format) {
  if (end <= start)
    return {};
  // Unsigned, since the span of two time points may be twice the range of one.
  const std::uint64_t seconds = (nanoseconds(end) - nanoseconds(start)) / 1000000000;
  return StringHelper::formatC(format, static_cast<int>(seconds / 3600),
                               static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
}

} // namespace Qiv
