#include "qiv/net.h"

namespace Qiv::Net {

namespace {

NetAddr<6, ':'> toMac(std::uint64_t number) {
  std::array<unsigned char, 6> bytes;
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, number >>= 8)
    *byte = static_cast<unsigned char>(number);
  return NetAddr<6, ':'>(bytes);
}

} // namespace

NetAddr<6, ':'> getFirstFreeMac(std::set<std::uint64_t>& used, std::uint64_t start) {
  std::uint64_t previous = start;
  for (auto value = used.upper_bound(start); value != used.end(); previous = *value++)
    if (*value - previous > 1)
      return toMac(previous + 1);
  return toMac(start);
}

} // namespace Qiv::Net
