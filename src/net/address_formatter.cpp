#include "qiv/net.h"

#include "qiv/text.h"

#include <cstring>

namespace Qiv::Net {

namespace {

/// `count` items, each appended by `append(text, i)`, joined by the separator.
template <typename Append>
std::string join(unsigned long count, char separator, std::size_t itemSize, Append append) {
  std::string text;
  text.reserve(count * (itemSize + 1));
  for (unsigned long i = 0; i < count; ++i) {
    if (i > 0)
      text += separator;
    append(text, i);
  }
  return text;
}

void appendHexGroup(std::string& text, unsigned int group) {
  constexpr char digits[] = "0123456789abcdef";
  int shift = 12;
  while (shift > 0 && group >> shift == 0)
    shift -= 4;
  for (; shift >= 0; shift -= 4)
    text += digits[group >> shift & 0x0F];
}

bool isIpv4Prefix(const std::string& text) {
  return text == "::ffff" || text == "::ffff:0" || text == "64:ff9b:";
}

} // namespace

std::string ipv4_to_string(const unsigned char* bytes, unsigned long count, char separator) {
  return join(count, separator, 3, [bytes](std::string& text, unsigned long i) {
    const unsigned int byte = bytes[i];
    if (byte >= 100)
      text += static_cast<char>('0' + byte / 100);
    if (byte >= 10)
      text += static_cast<char>('0' + byte / 10 % 10);
    text += static_cast<char>('0' + byte % 10);
  });
}

std::string mac_to_string_hex(const unsigned char* bytes, unsigned long count, char separator) {
  return join(count, separator, 2, [bytes](std::string& text, unsigned long i) {
    text += BitConverter::to_HexString(bytes[i]);
  });
}

std::string ipv6_to_string(const unsigned char* bytes, unsigned long length) {
  std::string text;
  int colons = 0;
  bool zeroRunUsed = false;
  bool inZeroRun = false;
  for (unsigned long i = 0; i < length / 2; ++i) {
    if (i == 6 && length >= 16 && isIpv4Prefix(text))
      return text + ':' + ipv4_to_string(bytes + 12, 4, '.');
    if (i != 0 && colons < 2) {
      text += ':';
      ++colons;
    }
    unsigned short group;
    std::memcpy(&group, bytes + 2 * i, sizeof group);
    if (group == 0 && (!zeroRunUsed || inZeroRun)) {
      zeroRunUsed = inZeroRun = true;
      continue;
    }
    inZeroRun = false;
    appendHexGroup(text, group);
    colons = 0;
  }
  return text;
}

} // namespace Qiv::Net
