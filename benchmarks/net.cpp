// Addresses and checksums.

#include "bench.h"

#include <Poco/Net/IPAddress.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_format.h>
#include <arpa/inet.h>
#include <array>
#include <boost/asio/ip/address.hpp>
#include <fmt/format.h>
#include <iomanip>
#include <qiv/net.h>
#include <random>
#include <sstream>
#include <vector>

namespace {

using Ip4 = std::array<unsigned char, 4>;
using Mac = std::array<unsigned char, 6>;
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

/// Poco reads without exceptions only into an object of its own.
Poco::Net::IPAddress parsedByPoco(const std::string& text) {
  Poco::Net::IPAddress address;
  Poco::Net::IPAddress::tryParse(text, address);
  return address;
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
      .peer("boost", [=] { return ip::make_address_v4(text4); })
      .peer("Poco", [=] { return parsedByPoco(text4); });
  bench::Row(
      "strict IPv6 parse", 0.8, [=] { return parsed<Ip6>(Qiv::Net::ip6ToBytes, text6); },
      [=] { return parsedByPton<Ip6>(AF_INET6, text6); })
      .peer("inet_pton", [=] { return parsedByPton<Ip6>(AF_INET6, text6); })
      .peer("boost", [=] { return ip::make_address_v6(text6); })
      .peer("Poco", [=] { return parsedByPoco(text6); });
}

template <typename Bytes>
std::string joinPlainly(const Bytes& bytes, char separator, bool hexadecimal) {
  std::ostringstream out;
  if (hexadecimal)
    out << std::hex << std::uppercase << std::setfill('0');
  for (std::size_t i = 0; i < bytes.size(); ++i)
    out << (i > 0 ? std::string(1, separator) : "") << std::setw(hexadecimal ? 2 : 0) << +bytes[i];
  return out.str();
}

template <typename Address>
std::string printedByNtop(int family, const Address& bytes) {
  char text[INET6_ADDRSTRLEN];
  return inet_ntop(family, bytes.data(), text, sizeof text);
}

void addIp4Print(const Ip4& bytes) {
  const boost::asio::ip::address_v4 boosts(bytes);
  const Poco::Net::IPAddress pocos(bytes.data(), bytes.size());
  bench::Row(
      "IPv4 print", 0.3, [=] { return Qiv::Net::ipv4_to_string(bytes.data(), 4, '.'); },
      [=] { return joinPlainly(bytes, '.', false); })
      .peer("inet_ntop", [=] { return printedByNtop(AF_INET, bytes); })
      .peer("boost", [=] { return boosts.to_string(); })
      .peer("Poco", [=] { return pocos.toString(); })
      .peer("fmt",
            [=] { return fmt::format("{}.{}.{}.{}", bytes[0], bytes[1], bytes[2], bytes[3]); })
      .peer("abseil",
            [=] { return absl::StrCat(bytes[0], ".", bytes[1], ".", bytes[2], ".", bytes[3]); });
}

/// The peers print the groups in network order: they get the bytes swapped.
void addIp6Print(const Ip6& bytes) {
  Ip6 swapped;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    swapped[i] = bytes[i ^ 1];
  const boost::asio::ip::address_v6 boosts(swapped);
  const Poco::Net::IPAddress pocos(swapped.data(), swapped.size());
  bench::Row(
      "IPv6 print", 0.3, [=] { return Qiv::Net::ipv6_to_string(bytes.data(), 16); },
      [=] { return printedByNtop(AF_INET6, swapped); })
      .peer("inet_ntop", [=] { return printedByNtop(AF_INET6, swapped); })
      .peer("boost", [=] { return boosts.to_string(); })
      .peer("Poco", [=] { return pocos.toString(); });
}

void addMacPrint(const Mac& mac) {
  bench::Row(
      "MAC print", 0.2, [=] { return Qiv::Net::mac_to_string_hex(mac.data(), 6, ':'); },
      [=] { return joinPlainly(mac, ':', true); })
      .peer("fmt",
            [=] {
              return fmt::format("{:02X}:{:02X}:{:02X}:{:02X}:{:02X}:{:02X}", mac[0], mac[1],
                                 mac[2], mac[3], mac[4], mac[5]);
            })
      .peer("fmt::join", [=] { return fmt::format("{:02X}", fmt::join(mac, ":")); })
      .peer("abseil", [=] {
        return absl::StrFormat("%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1], mac[2], mac[3],
                               mac[4], mac[5]);
      });
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
  addIp6Print({0x01, 0x20, 0xb8, 0x0d, 0xa3, 0x85, 0, 0, 0, 0, 0x2e, 0x8a, 0x70, 0x03, 0x34, 0x73});
  addMacPrint({0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E});
  addChecksum("20 B", 20, 1.8);
  addChecksum("1,500 B", 1500, 1.2);
  addChecksum("64 KiB", 65536, 1.2);
}
