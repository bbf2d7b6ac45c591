#include "qiv/files.h"
#include "qiv/net.h"

#include <algorithm>

namespace Qiv {

using Net::IPv4Subnet;
using Ip4 = Net::NetAddr<4, '.'>;
using Mac = Net::NetAddr<6, ':'>;

namespace {

bool reaches(const NetworkInterface& iface, const IPv4Subnet& target) {
  return std::any_of(iface.addresses.begin(), iface.addresses.end(), [&](const NetworkAddr& own) {
    return target.inSameSubnet(IPv4Subnet(Ip4(own.address), Ip4(own.mask)));
  });
}

} // namespace

NetworkInterfaces NetworkHelper::getNetworkInterfaces() {
  NetworkInterfaces list = getNetworkInterfacesLinux();
  for (const NetworkInterface& iface : list.interfaces) {
    list.hasAddress = list.hasAddress || !iface.addresses.empty();
    list.hasInterface = list.hasInterface || list.hasAddress || iface.present;
  }
  return list;
}

Mac NetworkHelper::getFirstMacAddress() {
  const NetworkInterfaces list = getNetworkInterfaces();
  return list.interfaces.empty() ? Mac() : Mac(list.interfaces.front().mac);
}

bool NetworkHelper::accessibleViaInterface(const std::string& interfaceName, const Ip4& ip,
                                           const Ip4& mask) {
  const IPv4Subnet target(ip, mask);
  const NetworkInterfaces list = getNetworkInterfaces();
  return std::any_of(list.interfaces.begin(), list.interfaces.end(),
                     [&](const NetworkInterface& iface) {
                       return iface.name == interfaceName && reaches(iface, target);
                     });
}

std::string NetworkHelper::getAccessibleInterface(const Ip4& ip, const Ip4& mask) {
  const IPv4Subnet target(ip, mask);
  for (const NetworkInterface& iface : getNetworkInterfaces().interfaces)
    if (reaches(iface, target))
      return iface.name;
  return {};
}

bool NetworkHelper::ping(const std::string& host, unsigned int timeout) {
  return pingLinux(host, timeout);
}

void set169ip() {
  spawnSyncWithThrow(" ip addr add 169.254.0.22/24 dev eth2");
}

} // namespace Qiv
