#include "qiv/net.h"

#include <cstring>

namespace Qiv {

unsigned short _checksum(unsigned short* data, int length) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  unsigned long sum = 0;
  for (; length > 1; length -= 2, bytes += 2) {
    unsigned short word;
    std::memcpy(&word, bytes, sizeof word);
    sum += word;
  }
  if (length == 1)
    sum += *bytes;
  sum = (sum & 0xFFFF) + (sum >> 16);
  sum += sum >> 16;
  return static_cast<unsigned short>(~sum);
}

} // namespace Qiv
