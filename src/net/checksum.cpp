#include "qiv/net.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Qiv {

namespace {

/// A vector, because g++ makes none of a loop over 16-bit words below -O3.
using Lanes [[gnu::vector_size(16)]] = std::uint32_t;

std::uint16_t wordAt(const unsigned char* bytes) {
  std::uint16_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

} // namespace

unsigned short _checksum(unsigned short* data, int length) {
  constexpr int laneBytes = sizeof(Lanes);
  constexpr int maxBlocks = 1 << 15; // as many pairs of words as a lane holds the sum of
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  std::uint64_t sum = 0;
  while (length >= laneBytes) {
    Lanes lanes = {};
    const int blocks = std::min(length / laneBytes, maxBlocks);
    for (int i = 0; i < blocks; ++i, bytes += laneBytes) {
      Lanes pairs;
      std::memcpy(&pairs, bytes, sizeof pairs);
      lanes += (pairs & 0xFFFF) + (pairs >> 16);
    }
    sum += std::uint64_t{lanes[0]} + lanes[1] + lanes[2] + lanes[3];
    length -= blocks * laneBytes;
  }
  for (; length > 1; length -= 2, bytes += 2)
    sum += wordAt(bytes);
  if (length == 1) {
    const unsigned char last[] = {*bytes, 0};
    sum += wordAt(last);
  }
  sum = (sum & 0xFFFF) + (sum >> 16);
  sum += sum >> 16;
  return static_cast<unsigned short>(~sum);
}

} // namespace Qiv
