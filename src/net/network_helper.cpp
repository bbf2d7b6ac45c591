#include "qiv/files.h"
#include "qiv/net.h"
#include "qiv/text.h"

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

const char* noNetwork() {
  static const char* const ar[] = {"The network cannot be used", "Сеть недоступна"};
  return ar[lng::language];
}

/// One error for each line that says something.
std::vector<std::shared_ptr<ObjectError>> errorsOf(const std::string& lines) {
  std::vector<std::shared_ptr<ObjectError>> errors;
  for (const std::string& line : StringHelper::split(lines, '\n'))
    if (const std::size_t start = line.find_first_not_of(' '); start != std::string::npos)
      errors.push_back(LogicError::create(line.substr(start), nullptr));
  return errors;
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

Result NetworkHelper::tryGetNetworkInterfaces(NetworkInterfaces& out) try {
  out = getNetworkInterfaces();
  return true;
} catch (const char* reason) {
  return LogicError::create(reason, nullptr);
} catch (const std::string& lines) {
  return LogicError::create(noNetwork(), errorsOf(lines));
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
