#ifndef QIV_NET_IP_LISTING_H
#define QIV_NET_IP_LISTING_H

#include "qiv/net.h"

/// Reads what the `ip` tool prints. Pure text work, so that it can be tried on any listing.
namespace Qiv::internal {

struct Gateway {
  std::string address;
  std::string device;
};

/// The default gateway in the first line of "ip r show default"; both texts empty when none.
Gateway findGateway(const std::string& routes);

/// The interfaces of "ip a", with the gateway set on its device.
NetworkInterfaces parseInterfaces(const std::string& listing, const Gateway& gateway);

/// Puts the reason why there is no network, in lng::language, in place of flags and state in each
/// line of "name: <FLAGS> state STATE". What one line says of its adapter holds for the later ones.
std::string diagnose(const std::string& listing);

} // namespace Qiv::internal

#endif
