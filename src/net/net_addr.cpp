#include "qiv/net.h"

namespace Qiv::Net {

template <>
NetAddr<4, '.'>::NetAddr(const char* text) {
  ip4ToBytes(text, bytes.data());
}
template <>
NetAddr<4, '.'>::NetAddr(const std::string& text) {
  ip4ToBytes(text, bytes.data());
}
template <>
std::string NetAddr<4, '.'>::to_string(char separator) const {
  return ipv4_to_string(bytes.data(), bytes.size(), separator);
}

template <>
NetAddr<6, ':'>::NetAddr(const char* text) {
  macToBytes(text, bytes.data());
}
template <>
NetAddr<6, ':'>::NetAddr(const std::string& text) {
  macToBytes(text, bytes.data());
}
template <>
std::string NetAddr<6, ':'>::to_string(char separator) const {
  return mac_to_string_hex(bytes.data(), bytes.size(), separator);
}

template <>
NetAddr<16, ':'>::NetAddr(const char* text) {
  ip6ToBytes(text, bytes.data());
}
template <>
NetAddr<16, ':'>::NetAddr(const std::string& text) {
  ip6ToBytes(text, bytes.data());
}
template <>
std::string NetAddr<16, ':'>::to_string(char) const {
  return ipv6_to_string(bytes.data(), bytes.size());
}

} // namespace Qiv::Net
