#include "qiv/net.h"

#include "internal/checked_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Qiv::Net {

namespace {

constexpr std::size_t ip4Size = 4;
constexpr std::size_t ip6Size = 16;

/// The value of an ASCII hexadecimal digit, -1 for any other character.
int hexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  const int letter = c | 0x20;
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// Reads hexadecimal digits, perhaps none, as long as 16 bits hold them.
unsigned int readGroup(const char*& text) {
  unsigned int group = 0;
  for (int digit; group <= 0xFFF && (digit = hexValue(*text)) >= 0; ++text)
    group = group << 4 | static_cast<unsigned int>(digit);
  return group;
}

/// Hands `count` numbers of `text` to `store`, stepping over at most one separator after each. They
/// have 64 bits everywhere: what does not fit is cut off to the same bits on every machine.
template <typename Store>
bool readNumbers(const char* text, std::size_t count, int base, const char* separators,
                 Store store) {
  for (std::size_t i = 0; i < count; ++i) {
    char* end;
    store(i, static_cast<std::uint64_t>(std::strtoull(text, &end, base)));
    text = *end && std::strchr(separators, *end) ? end + 1 : end;
  }
  return true;
}

} // namespace

bool ip4ToBytes(const char* text, unsigned char* dst) {
  if (!text)
    return false;
  unsigned char bytes[ip4Size];
  for (std::size_t i = 0; i < ip4Size; ++i) {
    if (i > 0 && *text++ != '.')
      return false;
    const char* const first = text;
    unsigned int octet = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
      if (text != first && octet == 0)
        return false;
      octet = octet * 10 + static_cast<unsigned int>(*text - '0');
      if (octet > 255)
        return false;
    }
    if (text == first)
      return false;
    bytes[i] = static_cast<unsigned char>(octet);
  }
  if (*text)
    return false;
  std::memcpy(dst, bytes, ip4Size);
  return true;
}

bool ip6ToBytes(const char* text, unsigned char* dst) {
  if (!text || (*text == ':' && *++text != ':'))
    return false;

  constexpr std::size_t none = ip6Size + 1;
  unsigned char bytes[ip6Size] = {};
  std::size_t cursor = 0;
  std::size_t doubleColon = none;
  for (;; ++text) {
    const char* const token = text;
    const unsigned int group = readGroup(text);
    if (*text == '.') {
      if (ip6Size - cursor < ip4Size || !ip4ToBytes(token, bytes + cursor))
        return false;
      cursor += ip4Size;
      break;
    }
    const bool empty = text == token;
    if (!empty) {
      if (cursor == ip6Size)
        return false;
      bytes[cursor++] = static_cast<unsigned char>(group >> 8);
      bytes[cursor++] = static_cast<unsigned char>(group);
    }
    if (!*text)
      break;
    if (*text != ':' || (empty ? doubleColon != none : !text[1]))
      return false;
    if (empty)
      doubleColon = cursor;
  }

  if (doubleColon != none) {
    if (cursor == ip6Size)
      return false;
    std::copy_backward(bytes + doubleColon, bytes + cursor, bytes + ip6Size);
    std::fill_n(bytes + doubleColon, ip6Size - cursor, static_cast<unsigned char>(0));
    cursor = ip6Size;
  }
  if (cursor != ip6Size)
    return false;
  std::memcpy(dst, bytes, ip6Size);
  return true;
}

bool ip4ToBytes(const std::string& text, unsigned char* dst) {
  return readNumbers(text.c_str(), 4, 10, ".", [dst](std::size_t i, std::uint64_t number) {
    dst[i] = static_cast<unsigned char>(number);
  });
}

bool ip6ToBytes(const std::string& text, unsigned char* dst) {
  return readNumbers(text.c_str(), 8, 16, ":", [dst](std::size_t i, std::uint64_t number) {
    dst[2 * i] = static_cast<unsigned char>(number >> 8);
    dst[2 * i + 1] = static_cast<unsigned char>(number);
  });
}

bool macToBytes(const std::string& text, unsigned char* dst) {
  return readNumbers(text.c_str(), 6, 16, ":-", [dst](std::size_t i, std::uint64_t number) {
    dst[i] = static_cast<unsigned char>(number);
  });
}

bool macToBytes(const char* text, unsigned char* dst) {
  return macToBytes(std::string(internal::checkedText(text)), dst);
}

} // namespace Qiv::Net
