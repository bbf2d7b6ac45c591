// Strings, Base64, bit arrays.

#include "bench.h"

#include <absl/strings/escaping.h>
#include <absl/strings/match.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <boost/dynamic_bitset.hpp>
#include <glib.h>
#include <memory>
#include <openssl/evp.h>
#include <qiv/text.h>
#include <random>
#include <strings.h>
#include <vector>

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

std::string encodeByOpenSsl(const std::string& bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  text.resize(
      static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                               bytesOf(bytes), static_cast<int>(bytes.size()))));
  return text;
}

std::string decodeByOpenSsl(const std::string& text) {
  std::string bytes(text.size() / 4 * 3, '\0');
  EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), bytesOf(text),
                  static_cast<int>(text.size()));
  bytes.resize(bytes.size() -
               static_cast<std::size_t>(std::count(text.end() - 2, text.end(), '=')));
  return bytes;
}

std::string decodeByAbseil(const std::string& text) {
  std::string bytes;
  absl::Base64Unescape(text, &bytes);
  return bytes;
}

/// A way whose result GLib allocates.
template <typename Call>
auto freed(Call call) {
  return [=] {
    gsize length = 0;
    auto* const result = call(&length);
    benchmark::DoNotOptimize(*result);
    g_free(result);
  };
}

void addBase64(const std::string& size, std::size_t length, double encodeTarget,
               double decodeTarget) {
  const std::string bytes = randomBytes(length);
  const auto encode = [=] {
    return Qiv::base64_encode(bytesOf(bytes), static_cast<unsigned int>(length));
  };
  const std::string text = encode();
  bench::Row("Base64 encode " + size, encodeTarget, encode)
      .peer("abseil", [=] { return absl::Base64Escape(bytes); })
      .peer("OpenSSL", [=] { return encodeByOpenSsl(bytes); })
      .peer("GLib", freed([=](gsize*) { return g_base64_encode(bytesOf(bytes), length); }))
      .limit("memcpy", [=] { return text; });
  bench::Row("Base64 decode " + size, decodeTarget, [=] { return Qiv::base64_decode(text); })
      .peer("abseil", [=] { return decodeByAbseil(text); })
      .peer("OpenSSL", [=] { return decodeByOpenSsl(text); })
      .peer("GLib", freed([=](gsize* n) { return g_base64_decode(text.c_str(), n); }))
      .limit("memcpy", [=] { return bytes; });
}

/// `piece` over and over with `separator` between, of 1 KiB.
std::string repeated(const std::string& piece, const std::string& separator) {
  std::string text = piece;
  while (text.size() < 1024)
    text += separator + piece;
  return text.substr(0, 1024);
}

void addSplit(const std::string& pieces, std::size_t length, double target) {
  const std::string text = repeated(std::string(length, 'x'), ";");
  bench::Row("split 1 KiB, " + pieces + " pieces", target,
             [=] { return Qiv::StringHelper::split(text, ';'); })
      .peer("abseil", [=] { return std::vector<std::string>(absl::StrSplit(text, ';')); })
      .peer("boost",
            [=] {
              std::vector<std::string> result;
              return boost::split(result, text, [](char c) { return c == ';'; });
            })
      .peer("GLib", [=] { g_strfreev(g_strsplit(text.c_str(), ";", -1)); });
}

void addReplace(const std::string& hits, std::size_t distance, double target) {
  const std::string text = repeated(std::string(distance - 3, 'x'), "%20"), from = "%20",
                    to = "%2520";
  bench::Row("replaceAll 1 KiB, " + hits + " hits", target, [=] {
    return Qiv::StringHelper::replaceAll(text, from, to);
  }).peer("abseil", [=] {
      return absl::StrReplaceAll(text, {{from, to}});
    }).peer("boost", [=] { return boost::replace_all_copy(text, from, to); });
}

void addInclude(const std::string& text, const std::string& part) {
  bench::Row("isInclude, case ignored, " + std::to_string(text.size()) + " B", 2.5, [=] {
    return Qiv::StringHelper::isInclude(text, part, 0, text.size(), true);
  }).peer("strncasecmp", [=] {
      return strncasecmp(text.c_str(), part.c_str(), part.size()) == 0;
    }).peer("abseil", [=] { return absl::EqualsIgnoreCase(text, part); });
}

constexpr std::size_t megabit = 1 << 20;

/// One bit more and back; the memory stays.
template <typename Bits, typename... Keep>
auto resizing(Bits bits, Keep... keep) {
  return [bits = std::make_shared<Bits>(bits), keep...] {
    bits->resize(megabit + 1, keep...);
    bits->resize(megabit, keep...);
  };
}

void addBits() {
  static Qiv::BitArray ours(megabit);
  static const Qiv::BitArray ourOther(megabit);
  static boost::dynamic_bitset<> boost(megabit);
  static const boost::dynamic_bitset<> boostOther(megabit);
  static std::vector<bool> vector(megabit);
  const std::string title = "bit array of 1 Mbit: ";
  bench::Row(title + "inverseAll", 1.2, [] {
    ours.inverseAll();
  }).peer("boost", [] {
      boost.flip();
    }).peer("vector<bool>", [] { vector.flip(); });
  bench::Row(title + "xor", 1.2, [] { ours.xorWith(ourOther); }).peer("boost", [] {
    boost ^= boostOther;
  });
  bench::Row(title + "resize keeping, by one bit, twice", 5, resizing(ours, true))
      .peer("boost", resizing(boost))
      .peer("vector<bool>", resizing(vector));
}

} // namespace

void bench::addText() {
  addBase64("32 B", 32, 0.75, 0.75);
  addBase64("1 KiB", 1024, 0.25, 0.18);
  addBase64("1 MiB", 1 << 20, 0.15, 0.13);
  addSplit("short", 4, 0.55);
  addSplit("long", 63, 1);
  addReplace("few", 256, 0.9);
  addReplace("many", 8, 0.35);
  addInclude("Infinity", "INFINITY");
  addBits();
}
