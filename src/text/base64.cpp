#include "text/base64.h"

#include "qiv/text.h"

#include <array>
#include <cstdint>

namespace Qiv {

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint32_t foreign = 1 << 24;

/// What a character gives to the 24 bits of a group, for each of its four places.
using Values = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr Values makeValues() {
  Values values{};
  for (unsigned int place = 0; place < 4; ++place) {
    for (std::uint32_t& value : values[place])
      value = foreign;
    for (std::uint32_t i = 0; i < 64; ++i)
      values[place][static_cast<unsigned char>(alphabet[i])] = i << (18 - 6 * place);
  }
  return values;
}

constexpr Values values = makeValues();

} // namespace

std::string internal::encodeBase64(const unsigned char* data, std::size_t length, bool avx2) {
  std::string text((length + 2) / 3 * 4, '=');
  const std::size_t done = avx2 ? encodeByAvx2(data, length, text.data()) : 0;
  const unsigned char* const end = data + length;
  char* out = text.data() + done / 3 * 4;
  // Three bytes of the four count: compilers make one load of them.
  for (data += done; end - data >= 4; data += 3, out += 4) {
    const std::uint32_t group =
        std::uint32_t{data[0]} << 24 | data[1] << 16 | data[2] << 8 | data[3];
    out[0] = alphabet[group >> 26];
    out[1] = alphabet[group >> 20 & 63];
    out[2] = alphabet[group >> 14 & 63];
    out[3] = alphabet[group >> 8 & 63];
  }
  const auto rest = static_cast<unsigned int>(end - data);
  std::uint32_t group = 0;
  for (unsigned int i = 0; i < rest; ++i)
    group |= std::uint32_t{data[i]} << (24 - 8 * i);
  for (unsigned int i = 0; rest != 0 && i <= rest; ++i)
    out[i] = alphabet[group >> (26 - 6 * i) & 63];
  return text;
}

std::string internal::decodeBase64(const std::string& text, bool avx2) {
  std::string bytes(text.size() / 4 * 3 + text.size() % 4 * 3 / 4, '\0');
  const auto* in = reinterpret_cast<const unsigned char*>(text.data());
  const unsigned char* const end = in + text.size();
  const std::size_t done = avx2 ? decodeByAvx2(in, text.size(), bytes.data()) : 0;
  char* out = bytes.data() + done / 4 * 3;
  for (in += done; end - in >= 4; in += 4, out += 3) {
    const std::uint32_t group =
        values[0][in[0]] | values[1][in[1]] | values[2][in[2]] | values[3][in[3]];
    if (group >= foreign)
      break;
    out[0] = static_cast<char>(group >> 16);
    out[1] = static_cast<char>(group >> 8);
    out[2] = static_cast<char>(group);
  }
  std::uint32_t group = 0;
  std::size_t place = 0;
  for (; in != end && values[place][*in] != foreign; ++in)
    group |= values[place++][*in];
  if (place >= 2)
    *out++ = static_cast<char>(group >> 16);
  if (place == 3)
    *out++ = static_cast<char>(group >> 8);
  bytes.resize(static_cast<std::size_t>(out - bytes.data()));
  return bytes;
}

std::string base64_encode(const unsigned char* data, unsigned int length) {
  return internal::encodeBase64(data, length, internal::hasAvx2());
}

std::string base64_decode(const std::string& text) {
  return internal::decodeBase64(text, internal::hasAvx2());
}

} // namespace Qiv
