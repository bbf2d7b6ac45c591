// Strings, versions, Base64, bit arrays, recent items.

#include "bench.h"

#include <absl/strings/escaping.h>
#include <cstring>
#include <openssl/evp.h>
#include <qiv/text.h>
#include <random>

namespace {

std::string randomBytes(std::size_t size) {
  std::mt19937 random(1);
  std::string bytes(size, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random());
  return bytes;
}

const unsigned char* bytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string encodePlainly(const std::string& bytes) {
  static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  unsigned int bits = 0;
  int count = 0;
  for (const unsigned char byte : bytes) {
    bits = bits << 8 | byte;
    for (count += 8; count >= 6; count -= 6)
      text += alphabet[bits >> (count - 6) & 63];
  }
  if (count > 0)
    text += alphabet[bits << (6 - count) & 63];
  while (text.size() % 4 != 0)
    text += '=';
  return text;
}

void addBase64(const std::string& size, std::size_t length, double encodeTarget,
               double decodeTarget) {
  const std::string bytes = randomBytes(length);
  const std::string text = encodePlainly(bytes);
  bench::Row(
      "Base64 encode " + size, encodeTarget,
      [=] { return Qiv::base64_encode(bytesOf(bytes), static_cast<unsigned int>(length)); },
      [=] { return encodePlainly(bytes); })
      .peer("abseil", [=] { return absl::Base64Escape(bytes); })
      .peer("OpenSSL",
            [=] {
              std::string out((length + 2) / 3 * 4 + 1, '\0');
              EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()), bytesOf(bytes),
                              static_cast<int>(length));
              return out;
            })
      .limit("memcpy", [=] { return text; });
  bench::Row("Base64 decode " + size, decodeTarget, [=] {
    return Qiv::base64_decode(text);
  }).peer("abseil", [=] {
    std::string out;
    absl::Base64Unescape(text, &out);
    return out;
  });
}

} // namespace

void bench::addText() {
  addBase64("32 B", 32, 0.75, 0.75);
  addBase64("1 KiB", 1024, 0.25, 0.18);
  addBase64("1 MiB", 1 << 20, 0.15, 0.13);
}
