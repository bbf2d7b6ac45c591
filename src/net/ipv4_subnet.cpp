#include "qiv/net.h"

namespace Qiv::Net {

namespace {

unsigned int toNumber(const NetAddr<4, '.'>& address) {
  unsigned int number = 0;
  for (const unsigned char byte : address.getData())
    number = number << 8 | byte;
  return number;
}

} // namespace

IPv4Subnet::IPv4Subnet(unsigned int ip, unsigned int mask)
    : network(ip & mask), broadcast(network + ~mask), ip(ip) {}
IPv4Subnet::IPv4Subnet(const NetAddr<4, '.'>& ip, unsigned int mask)
    : IPv4Subnet(toNumber(ip), mask) {}
IPv4Subnet::IPv4Subnet(const NetAddr<4, '.'>& ip, const NetAddr<4, '.'>& mask)
    : IPv4Subnet(toNumber(ip), toNumber(mask)) {}

bool IPv4Subnet::inSameSubnet(const IPv4Subnet& other) const {
  return other.contains(ip) && contains(other.ip);
}

NetAddr<4, '.'> IPv4Subnet::getIP() const {
  const std::array<unsigned char, 4> bytes = {
      static_cast<unsigned char>(ip >> 24), static_cast<unsigned char>(ip >> 16),
      static_cast<unsigned char>(ip >> 8), static_cast<unsigned char>(ip)};
  return NetAddr<4, '.'>(bytes);
}

} // namespace Qiv::Net
