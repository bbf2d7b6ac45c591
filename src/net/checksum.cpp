#include "qiv/net.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace Qiv {

namespace {

unsigned int wordAt(const unsigned char* bytes) {
  unsigned short word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

} // namespace

unsigned short _checksum(unsigned short* data, int length) {
  constexpr int blockSize = 32;
  constexpr int maxBlocks = 1 << 16; // as many words as a lane holds the sum of
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  unsigned long sum = 0;
  while (length >= blockSize) {
    unsigned int lanes[blockSize / 2] = {}; // side by side, so that the compiler adds vectors
    const int blocks = std::min(length / blockSize, maxBlocks);
    for (int i = 0; i < blocks; ++i, bytes += blockSize)
      for (std::size_t lane = 0; lane < std::size(lanes); ++lane)
        lanes[lane] += wordAt(bytes + 2 * lane);
    sum = std::accumulate(std::begin(lanes), std::end(lanes), sum);
    length -= blocks * blockSize;
  }
  for (; length > 1; length -= 2, bytes += 2)
    sum += wordAt(bytes);
  if (length == 1)
    sum += *bytes;
  sum = (sum & 0xFFFF) + (sum >> 16);
  sum += sum >> 16;
  return static_cast<unsigned short>(~sum);
}

} // namespace Qiv
