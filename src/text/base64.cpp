#include "qiv/text.h"

#include <algorithm>
#include <array>

namespace Qiv {

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char foreign = 64;

constexpr std::array<unsigned char, 256> makeValues() {
  std::array<unsigned char, 256> values{};
  for (unsigned char& value : values)
    value = foreign;
  for (unsigned char i = 0; i < 64; ++i)
    values[static_cast<unsigned char>(alphabet[i])] = i;
  return values;
}

constexpr std::array<unsigned char, 256> values = makeValues();

} // namespace

std::string base64_encode(const unsigned char* data, unsigned int length) {
  const unsigned int rest = length % 3;
  const unsigned char* const end = data + (length - rest);
  std::string text((std::size_t{length} + 2) / 3 * 4, '=');
  char* out = text.data();
  for (; data != end; data += 3, out += 4) {
    const unsigned int group = data[0] << 16 | data[1] << 8 | data[2];
    out[0] = alphabet[group >> 18];
    out[1] = alphabet[group >> 12 & 63];
    out[2] = alphabet[group >> 6 & 63];
    out[3] = alphabet[group & 63];
  }
  if (rest == 0)
    return text;
  const unsigned int group = data[0] << 16 | (rest == 2 ? data[1] << 8 : 0);
  out[0] = alphabet[group >> 18];
  out[1] = alphabet[group >> 12 & 63];
  if (rest == 2)
    out[2] = alphabet[group >> 6 & 63];
  return text;
}

std::string base64_decode(const std::string& text) {
  const auto* in = reinterpret_cast<const unsigned char*>(text.data());
  const unsigned char* const end = std::find_if(
      in, in + text.size(), [](unsigned char character) { return values[character] == foreign; });
  const auto length = static_cast<std::size_t>(end - in);
  std::string bytes(length / 4 * 3 + length % 4 * 3 / 4, '\0');
  char* out = bytes.data();
  for (; end - in >= 4; in += 4, out += 3) {
    const unsigned int group =
        values[in[0]] << 18 | values[in[1]] << 12 | values[in[2]] << 6 | values[in[3]];
    out[0] = static_cast<char>(group >> 16);
    out[1] = static_cast<char>(group >> 8);
    out[2] = static_cast<char>(group);
  }
  if (end - in >= 2)
    out[0] = static_cast<char>(values[in[0]] << 2 | values[in[1]] >> 4);
  if (end - in == 3)
    out[1] = static_cast<char>(values[in[1]] << 4 | values[in[2]] >> 2);
  return bytes;
}

} // namespace Qiv
