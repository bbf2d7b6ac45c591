#include "internal/local_time.h"

#include <cstdlib>
#include <mutex>
#include <stdexcept>

namespace Qiv {

namespace {

/// localtime_r alone reads the time zone only once. Without TZ in the environment tzset asks the
/// file system each time, so it is called once a second then.
void noticeTimeZone() {
  static std::time_t noticed = 0;
  const std::time_t now = std::getenv("TZ") ? 0 : std::time(nullptr);
  if (now != 0 && now == noticed)
    return;
  tzset();
  noticed = now;
}

} // namespace

std::tm internal::localTime(std::int64_t seconds) {
  static std::mutex mutex; // the C library's own lock is hidden from race detectors
  const std::lock_guard lock(mutex);
  noticeTimeZone();
  const auto time = static_cast<std::time_t>(seconds);
  std::tm local;
  if (time != seconds || !localtime_r(&time, &local))
    throw std::out_of_range("DateTimeHelper: The calendar cannot hold this time");
  return local;
}

} // namespace Qiv
