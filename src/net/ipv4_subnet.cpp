#include "net/ipv4_number.h"

namespace Qiv::Net {

using internal::toNumber;

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
  return internal::toAddress(ip);
}

} // namespace Qiv::Net
