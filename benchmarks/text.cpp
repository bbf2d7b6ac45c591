// Strings, versions, Base64, bit arrays, recent items.

#include "bench.h"

#include <absl/strings/escaping.h>
#include <absl/strings/match.h>
#include <absl/strings/str_join.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <algorithm>
#include <boost/algorithm/string.hpp>
#include <boost/dynamic_bitset.hpp>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/identity.hpp>
#include <boost/multi_index/sequenced_index.hpp>
#include <boost/multi_index_container.hpp>
#include <cctype>
#include <cstring>
#include <glib.h>
#include <list>
#include <memory>
#include <openssl/evp.h>
#include <qiv/text.h>
#include <random>
#include <sstream>
#include <strings.h>
#include <unordered_map>
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

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string encodePlainly(const std::string& bytes) {
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

std::string decodePlainly(const std::string& text) {
  std::string bytes;
  unsigned int bits = 0;
  int count = 0;
  for (const char character : text) {
    const char* const found = character ? std::strchr(alphabet, character) : nullptr;
    if (!found)
      break;
    bits = bits << 6 | static_cast<unsigned int>(found - alphabet);
    if ((count += 6) >= 8)
      bytes += static_cast<char>(bits >> (count -= 8));
  }
  return bytes;
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
  const std::string text = encodePlainly(bytes);
  bench::Row(
      "Base64 encode " + size, encodeTarget,
      [=] { return Qiv::base64_encode(bytesOf(bytes), static_cast<unsigned int>(length)); },
      [=] { return encodePlainly(bytes); })
      .peer("abseil", [=] { return absl::Base64Escape(bytes); })
      .peer("OpenSSL", [=] { return encodeByOpenSsl(bytes); })
      .peer("GLib", freed([=](gsize*) { return g_base64_encode(bytesOf(bytes), length); }))
      .limit("memcpy", [=] { return text; });
  bench::Row(
      "Base64 decode " + size, decodeTarget, [=] { return Qiv::base64_decode(text); },
      [=] { return decodePlainly(text); })
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

std::vector<std::string> splitPlainly(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> pieces;
  for (std::string piece; std::getline(stream, piece, ';');)
    pieces.push_back(piece);
  if (text.empty() || text.back() == ';')
    pieces.emplace_back();
  return pieces;
}

void addSplit(const std::string& pieces, std::size_t length, double target) {
  const std::string text = repeated(std::string(length, 'x'), ";");
  bench::Row(
      "split 1 KiB, " + pieces + " pieces", target,
      [=] { return Qiv::StringHelper::split(text, ';'); }, [=] { return splitPlainly(text); })
      .peer("abseil", [=] { return std::vector<std::string>(absl::StrSplit(text, ';')); })
      .peer("boost",
            [=] {
              std::vector<std::string> result;
              return boost::split(result, text, [](char c) { return c == ';'; });
            })
      .peer("GLib", [=] { g_strfreev(g_strsplit(text.c_str(), ";", -1)); });
}

std::string replacePlainly(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
    text.erase(at, from.size()).insert(at, to);
  return text;
}

void addReplace(const std::string& hits, std::size_t distance, double target) {
  const std::string text = repeated(std::string(distance - 3, 'x'), "%20"), from = "%20",
                    to = "%2520";
  bench::Row(
      "replaceAll 1 KiB, " + hits + " hits", target,
      [=] { return Qiv::StringHelper::replaceAll(text, from, to); },
      [=] { return replacePlainly(text, from, to); })
      .peer("abseil",
            [=] {
              return absl::StrReplaceAll(text, {{from, to}});
            })
      .peer("boost", [=] { return boost::replace_all_copy(text, from, to); });
}

void addInclude(const std::string& text, double target) {
  std::string part = text;
  std::transform(part.begin(), part.end(), part.begin(),
                 [](unsigned char c) { return std::toupper(c); });
  bench::Row(
      "isInclude, case ignored, " + std::to_string(text.size()) + " B", target,
      [=] { return Qiv::StringHelper::isInclude(text, part, 0, text.size(), true); },
      [=] {
        for (std::size_t i = 0; i < part.size(); ++i)
          if (std::tolower(text[i]) != std::tolower(part[i]))
            return false;
        return true;
      })
      .peer("strncasecmp",
            [=] { return strncasecmp(text.c_str(), part.c_str(), part.size()) == 0; })
      .peer("GLib",
            [=] { return g_ascii_strncasecmp(text.c_str(), part.c_str(), part.size()) == 0; })
      .peer("abseil", [=] { return absl::EqualsIgnoreCase(text, part); });
}

using Bytes = std::vector<unsigned char>;

constexpr std::size_t megabit = 1 << 20;

/// Every `step`th bit set, in each of the peers.
struct Bits {
  Qiv::BitArray ours{megabit};
  Bytes plain = Bytes(megabit / 8);
  boost::dynamic_bitset<> boost{megabit};
  std::vector<bool> vector = std::vector<bool>(megabit);

  explicit Bits(std::size_t step) {
    for (std::size_t i = step; i < megabit; i += step) {
      ours.set(i, true);
      plain[i / 8] |= static_cast<unsigned char>(1 << i % 8);
      boost.set(i);
      vector[i] = true;
    }
  }
};

void addWholeBits(const std::string& title) {
  static Bits a(3), b(5), none(megabit);
  bench::Row(
      title + "inverseAll", 0.6,
      []() -> const Bytes& {
        a.ours.inverseAll();
        return a.ours.getData();
      },
      []() -> const Bytes& {
        for (unsigned char& byte : a.plain)
          byte = static_cast<unsigned char>(~byte);
        return a.plain;
      })
      .peer("boost", [] { a.boost.flip(); })
      .peer("vector<bool>", [] { a.vector.flip(); });
  bench::Row(
      title + "xor", 0.6,
      []() -> const Bytes& {
        a.ours.xorWith(b.ours);
        return a.ours.getData();
      },
      []() -> const Bytes& {
        const unsigned char* other = b.plain.data();
        for (unsigned char& byte : a.plain)
          byte ^= *other++;
        return a.plain;
      })
      .peer("boost", [] { a.boost ^= b.boost; });
  bench::Row(
      title + "hasAnyTrue", 0.35, [] { return none.ours.hasAnyTrue(); },
      [] {
        return std::any_of(none.plain.begin(), none.plain.end(), [](int byte) { return byte; });
      })
      .peer("boost", [] { return none.boost.any(); })
      .peer("vector<bool>", [] {
        return std::find(none.vector.begin(), none.vector.end(), true) != none.vector.end();
      });
}

struct Grown {
  Qiv::BitArray bits;
  bool operator==(const Bytes& bytes) const { return bits.getData() == bytes; }
};

void addResize(const std::string& title) {
  static const Bits bits(3);
  static const auto grown = [](auto copy, auto... keepValues) {
    copy.resize(megabit + 1, keepValues...);
    return copy;
  };
  bench::Row(
      title + "resize keeping", 2, [] { return Grown{grown(bits.ours, true)}; },
      [] {
        Bytes bytes(bits.plain.size() + 1);
        for (std::size_t i = 0; i < megabit; ++i)
          bytes[i / 8] |= static_cast<unsigned char>(bits.plain[i / 8] & 1 << i % 8);
        return bytes;
      })
      .peer("boost", [] { return grown(bits.boost); })
      .peer("vector<bool>", [] { return grown(bits.vector); });
}

void addBitLoop(const std::string& title) {
  static Bits bits(5);
  const auto loop = [](auto set, auto get) {
    return [=] {
      std::size_t count = 0;
      for (std::size_t i = 0; i < megabit; ++i)
        set(i, i % 3 == 0);
      for (std::size_t i = 0; i < megabit; ++i)
        count += get(i);
      return count;
    };
  };
  bench::Row(title + "set and get loop", 1.4,
             loop([](std::size_t i, bool value) { bits.ours.set(i, value); },
                  [](std::size_t i) { return bits.ours.get(i); }),
             loop([](std::size_t i, bool value) { bits.vector.at(i) = value; },
                  [](std::size_t i) { return bits.vector.at(i); }))
      .peer("boost", loop([](std::size_t i, bool value) { bits.boost[i] = value; },
                          [](std::size_t i) { return bits.boost[i]; }))
      .peer("vector<bool>", loop([](std::size_t i, bool value) { bits.vector[i] = value; },
                                 [](std::size_t i) { return bits.vector[i]; }));
}

constexpr std::size_t recentCount = 20;

class RecentList {
public:
  void tryAdd(const std::string& item) {
    const auto found = places.find(item);
    if (found != places.end())
      return items.splice(items.end(), items, found->second);
    places[item] = items.insert(items.end(), item);
    if (items.size() > recentCount) {
      places.erase(items.front());
      items.pop_front();
    }
  }
  std::string serialize() const { return absl::StrJoin(items, ";"); }

private:
  std::list<std::string> items;
  std::unordered_map<std::string, std::list<std::string>::iterator> places;
};

class RecentByBoost {
public:
  void tryAdd(const std::string& item) {
    const auto [place, isNew] = items.push_back(item);
    if (!isNew)
      items.relocate(items.end(), place);
    else if (items.size() > recentCount)
      items.pop_front();
  }
  std::string serialize() const { return absl::StrJoin(items, ";"); }

private:
  using Indices = boost::multi_index::indexed_by<
      boost::multi_index::sequenced<>,
      boost::multi_index::hashed_unique<boost::multi_index::identity<std::string>>>;
  boost::multi_index_container<std::string, Indices> items;
};

class RecentPlainly {
public:
  void tryAdd(const std::string& item) {
    const auto found = std::find(items.begin(), items.end(), item);
    if (found != items.end())
      items.erase(found);
    items.push_back(item);
    if (items.size() > recentCount)
      items.erase(items.begin());
  }
  std::string serialize() const {
    std::ostringstream text;
    for (const std::string& item : items)
      text << (&item == &items.front() ? "" : ";") << item;
    return text.str();
  }

private:
  std::vector<std::string> items;
};

void addRecent() {
  std::vector<std::string> names;
  for (int i = 60; i < 120; ++i) { // every second is one of those before
    const int number = i % 2 == 0 ? i : i - 7;
    names.push_back("/home/user/Documents/project/file" + std::to_string(number % 60) + ".xml");
  }
  const auto way = [&](auto recent) {
    return [=] {
      for (const std::string& name : names)
        recent->tryAdd(name);
      return recent->serialize();
    };
  };
  bench::Row("recent collection: 60 added, half of them new, and serialized", 0.8,
             way(std::make_shared<Qiv::RecentCollection>(recentCount)),
             way(std::make_shared<RecentPlainly>()))
      .peer("list with hash", way(std::make_shared<RecentList>()))
      .peer("boost multi_index", way(std::make_shared<RecentByBoost>()));
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
  addInclude("Infinity", 2.5);
  addInclude("Content-Type: application/octet-stream; charset=utf-8; version=1", 2.5);
  const std::string bits = "bit array of 1 Mbit: ";
  addWholeBits(bits);
  addResize(bits);
  addBitLoop(bits);
  addRecent();
}
