#include "qiv/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>

namespace Qiv {

namespace {

using Bytes = std::vector<unsigned char>;

/// (size + 7) / 8 without its overflow.
std::size_t byteCount(std::size_t size) {
  return size / 8 + (size % 8 != 0);
}

/// Zeroes the bits at and beyond `size` of the byte in which the bit before it lies.
void clearPadding(Bytes& bytes, std::size_t size) {
  if (size % 8 != 0)
    bytes[BitArray::byteIndex(size)] &= static_cast<unsigned char>(BitArray::bitMask(size) - 1);
}

/// Replaces each byte by what `operation` makes of it and of the one at its place in `other`. In
/// words, because g++ makes no vectors of a loop over bytes below -O3.
template <typename Operation>
void combine(Bytes& bytes, const Bytes& other, Operation operation) {
  unsigned char* mine = bytes.data();
  const unsigned char* others = other.data();
  std::uint64_t word, otherWord;
  std::size_t left = bytes.size();
  for (; left >= sizeof word; left -= sizeof word, mine += sizeof word, others += sizeof word) {
    std::memcpy(&word, mine, sizeof word);
    std::memcpy(&otherWord, others, sizeof word);
    word = operation(word, otherWord);
    std::memcpy(mine, &word, sizeof word);
  }
  for (; left > 0; --left, ++mine, ++others)
    *mine = static_cast<unsigned char>(operation(*mine, *others));
}

} // namespace

BitArray::BitArray(std::size_t size) : size(size), data(byteCount(size)) {}

bool BitArray::hasAnyTrue() const {
  // All bytes are zero when the first one is and each equals the one before it.
  return !data.empty() &&
         (data[0] != 0 || std::memcmp(data.data(), data.data() + 1, data.size() - 1) != 0);
}

void BitArray::resize(std::size_t newSize, bool keepValues) {
  if (newSize == size)
    return;
  if (keepValues) {
    data.resize(byteCount(newSize));
    clearPadding(data, std::min(size, newSize));
  } else {
    data = Bytes(byteCount(newSize));
  }
  size = newSize;
}

void BitArray::clear() {
  std::fill(data.begin(), data.end(), static_cast<unsigned char>(0));
}

void BitArray::inverseAll() {
  combine(data, data, [](auto mine, auto) { return ~mine; });
  clearPadding(data, size);
}

BitArray BitArray::xorOperation(const BitArray& other) const {
  BitArray result = clone();
  result.xorWith(other);
  return result;
}

void BitArray::xorWith(const BitArray& other) {
  if (size != other.size)
    throw std::invalid_argument("BitArrays must have the same size for XOR operation");
  combine(data, other.data, std::bit_xor<>());
}

void BitArray::fillData(const unsigned char* source, std::size_t offset, std::size_t count,
                        bool allowResize) {
  if (count != data.size() && !allowResize)
    throw std::runtime_error("BitArray::fillData: Incorrect size");
  if (count > std::numeric_limits<std::size_t>::max() / 8)
    throw std::length_error("BitArray::fillData: Too many bytes");
  if (count == 0)
    return resize(0, false);
  const unsigned char* const first = source + offset;
  if (count == data.size()) {
    std::memmove(data.data(), first, count);
    return;
  }
  // A vector of its own: the source may lie in the bytes that go.
  data = Bytes(first, first + count);
  size = count * 8;
}

void BitArray::throwOutOfRange() {
  throw std::out_of_range("Index out of range");
}

} // namespace Qiv
