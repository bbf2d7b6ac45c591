// Addresses and checksums.

#include "bench.h"

#include <absl/strings/str_cat.h>
#include <arpa/inet.h>
#include <array>
#include <boost/asio/ip/address.hpp>
#include <fmt/format.h>
#include <qiv/net.h>
#include <random>
#include <sstream>
#include <vector>

namespace {

using Ip4 = std::array<unsigned char, 4>;
using Ip6 = std::array<unsigned char, 16>;

template <typename Address>
Address parsedByPton(int family, const std::string& text) {
  Address bytes{};
  inet_pton(family, text.c_str(), bytes.data());
  return bytes;
}

Ip4 parse4Plainly(const std::string& text) {
  std::istringstream in(text);
  Ip4 bytes{};
  for (unsigned char& byte : bytes) {
    int number;
    in >> number;
    in.get();
    byte = static_cast<unsigned char>(number);
  }
  return bytes;
}

template <typename Address>
Address parsed(bool (*parse)(const char*, unsigned char*), const std::string& text) {
  Address bytes{};
  parse(text.c_str(), bytes.data());
  return bytes;
}

void addParse(const std::string& text4, const std::string& text6) {
  namespace ip = boost::asio::ip;
  bench::Row(
      "strict IPv4 parse", 0.75, [=] { return parsed<Ip4>(Qiv::Net::ip4ToBytes, text4); },
      [=] { return parse4Plainly(text4); })
      .peer("inet_pton", [=] { return parsedByPton<Ip4>(AF_INET, text4); })
      .peer("boost", [=] { return ip::make_address_v4(text4); });
  bench::Row(
      "strict IPv6 parse", 0.8, [=] { return parsed<Ip6>(Qiv::Net::ip6ToBytes, text6); },
      [=] { return parsedByPton<Ip6>(AF_INET6, text6); })
      .peer("inet_pton", [=] { return parsedByPton<Ip6>(AF_INET6, text6); })
      .peer("boost", [=] { return ip::make_address_v6(text6); });
}

std::string print4Plainly(const Ip4& bytes) {
  std::ostringstream out;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    out << (i > 0 ? "." : "") << +bytes[i];
  return out.str();
}

std::string printedByNtop(const Ip4& bytes) {
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, bytes.data(), text, sizeof text);
}

void addIp4Print(const Ip4& bytes) {
  const boost::asio::ip::address_v4 boosts(bytes);
  bench::Row(
      "IPv4 print", 0.3, [=] { return Qiv::Net::ipv4_to_string(bytes.data(), 4, '.'); },
      [=] { return print4Plainly(bytes); })
      .peer("inet_ntop", [=] { return printedByNtop(bytes); })
      .peer("boost", [=] { return boosts.to_string(); })
      .peer("fmt",
            [=] { return fmt::format("{}.{}.{}.{}", bytes[0], bytes[1], bytes[2], bytes[3]); })
      .peer("abseil",
            [=] { return absl::StrCat(bytes[0], ".", bytes[1], ".", bytes[2], ".", bytes[3]); });
}

unsigned short folded(unsigned int sum) {
  sum = (sum & 0xFFFF) + (sum >> 16);
  sum += sum >> 16;
  return static_cast<unsigned short>(~sum);
}

/// The sum of RFC 1071, for what fits into 32 bits. A call, as ours is.
[[gnu::noinline]] unsigned short sumPlainly(const std::vector<unsigned short>& words) {
  unsigned int sum = 0;
  for (const unsigned short word : words)
    sum += word;
  return folded(sum);
}

[[gnu::noinline, gnu::optimize("O3")]] unsigned short
sumByVectors(const std::vector<unsigned short>& words) {
  unsigned int sum = 0;
  for (const unsigned short word : words)
    sum += word;
  return folded(sum);
}

void addChecksum(const std::string& size, std::size_t bytes, double target) {
  std::mt19937 random(1);
  std::vector<unsigned short> words(bytes / 2);
  for (unsigned short& word : words)
    word = static_cast<unsigned short>(random());
  bench::Row(
      "checksum " + size, target,
      [=] {
        return Qiv::_checksum(const_cast<unsigned short*>(words.data()), static_cast<int>(bytes));
      },
      [=] { return sumPlainly(words); })
      .peer("vectorised 32-bit sum", [=] { return sumByVectors(words); });
}

} // namespace

void bench::addNet() {
  addParse("192.168.100.17", "2001:db8:85a3::8a2e:370:7334");
  addIp4Print({192, 168, 100, 17});
  addChecksum("20 B", 20, 1.8);
  addChecksum("1,500 B", 1500, 1.2);
  addChecksum("64 KiB", 65536, 1.2);
}
