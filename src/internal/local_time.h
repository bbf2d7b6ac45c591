#ifndef QIV_INTERNAL_LOCAL_TIME_H
#define QIV_INTERNAL_LOCAL_TIME_H

#include <cstdint>
#include <ctime>

namespace Qiv::internal {

/// The local time of a time_t. Notices a changed time zone as localtime does, within a second where
/// TZ is not set. Throws std::out_of_range for a year beyond int. Safe to call from any thread.
std::tm localTime(std::int64_t seconds);

} // namespace Qiv::internal

#endif
