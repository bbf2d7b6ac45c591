#include "qiv/net.h"

#include <charconv>
#include <string_view>

namespace Qiv::Net {

namespace {

/// The text that `write(first)` writes, which returns its end; at most `capacity` characters.
template <typename Write>
std::string textOf(std::size_t capacity, Write write) {
  std::string text(capacity, '\0');
  text.resize(static_cast<std::size_t>(write(text.data()) - text.data()));
  return text;
}

char* writeDecimal(char* first, unsigned char byte) {
  return std::to_chars(first, first + 3, byte).ptr;
}

char* writeHexadecimal(char* first, unsigned char byte) {
  static constexpr char digits[] = "0123456789ABCDEF";
  first[0] = digits[byte >> 4];
  first[1] = digits[byte & 0x0F];
  return first + 2;
}

template <char* (*WriteByte)(char*, unsigned char)>
char* writeBytes(char* end, const unsigned char* bytes, unsigned long count, char separator) {
  for (unsigned long i = 0; i < count; ++i) {
    if (i > 0)
      *end++ = separator;
    end = WriteByte(end, bytes[i]);
  }
  return end;
}

bool isIpv4Prefix(std::string_view text) {
  return text == "::ffff" || text == "::ffff:0" || text == "64:ff9b:";
}

char* writeIpv6(char* const first, const unsigned char* bytes, unsigned long length) {
  char* end = first;
  int colons = 0;
  bool zeroRunUsed = false;
  bool inZeroRun = false;
  for (unsigned long i = 0; i < length / 2; ++i) {
    if (i == 6 && length >= 16 && isIpv4Prefix({first, static_cast<std::size_t>(end - first)})) {
      *end++ = ':';
      return writeBytes<writeDecimal>(end, bytes + 12, 4, '.');
    }
    if (i != 0 && colons < 2) {
      *end++ = ':';
      ++colons;
    }
    const unsigned int group = bytes[2 * i] + 256U * bytes[2 * i + 1];
    if (group == 0 && (!zeroRunUsed || inZeroRun)) {
      zeroRunUsed = inZeroRun = true;
      continue;
    }
    inZeroRun = false;
    end = std::to_chars(end, end + 4, group, 16).ptr;
    colons = 0;
  }
  return end;
}

} // namespace

std::string ipv4_to_string(const unsigned char* bytes, unsigned long count, char separator) {
  return textOf(count > 0 ? 4 * count - 1 : 0, [=](char* first) {
    return writeBytes<writeDecimal>(first, bytes, count, separator);
  });
}

std::string mac_to_string_hex(const unsigned char* bytes, unsigned long count, char separator) {
  return textOf(count > 0 ? 3 * count - 1 : 0, [=](char* first) {
    return writeBytes<writeHexadecimal>(first, bytes, count, separator);
  });
}

std::string ipv6_to_string(const unsigned char* bytes, unsigned long length) {
  return textOf(length / 2 * 5, [=](char* first) { return writeIpv6(first, bytes, length); });
}

} // namespace Qiv::Net
