#ifndef QIV_NET_IPV4_NUMBER_H
#define QIV_NET_IPV4_NUMBER_H

#include "qiv/net.h"

/// An IPv4 address as a number in host order, the first octet most significant.
namespace Qiv::internal {

inline unsigned int toNumber(const Net::NetAddr<4, '.'>& address) {
  unsigned int number = 0;
  for (const unsigned char byte : address.getData())
    number = number << 8 | byte;
  return number;
}

inline Net::NetAddr<4, '.'> toAddress(unsigned int number) {
  const std::array<unsigned char, 4> bytes = {
      static_cast<unsigned char>(number >> 24), static_cast<unsigned char>(number >> 16),
      static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
  return Net::NetAddr<4, '.'>(bytes);
}

} // namespace Qiv::internal

#endif
