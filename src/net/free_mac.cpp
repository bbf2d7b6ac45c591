#include "qiv/net.h"

namespace Qiv::Net {

namespace {

NetAddr<6, ':'> toMac(unsigned long number) {
  std::array<unsigned char, 6> bytes;
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, number >>= 8)
    *byte = static_cast<unsigned char>(number);
  return NetAddr<6, ':'>(bytes);
}

} // namespace

NetAddr<6, ':'> getFirstFreeMac(std::set<unsigned long>& used, unsigned long start) {
  unsigned long previous = start;
  for (auto value = used.upper_bound(start); value != used.end(); previous = *value++)
    if (*value - previous > 1)
      return toMac(previous + 1);
  return toMac(start);
}

} // namespace Qiv::Net
