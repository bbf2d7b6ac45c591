#include "files/spawn.h"
#include "net/ip_listing.h"
#include "qiv/files.h"
#include "qiv/net.h"

namespace Qiv {

namespace {

/// Front insertion is for gateway texts longer than any IPv4 address.
constexpr std::size_t longGateway = 32;

std::string run(const char* command) {
  internal::Captured spawned = internal::spawn(command);
  internal::throwErrors(command, spawned);
  return spawned.output;
}

bool allRoutesDown() {
  return !cross::execPipe("ip r").empty() && cross::execPipe("ip r | grep -v 'linkdown'").empty();
}

[[noreturn]] void throwDiagnosis() {
  const std::string listing = cross::execPipe(" ip a | grep CAST | cut -d' ' -f2,3,8,9");
  if (listing.empty())
    throw ethsNotFound();
  if (cross::execPipe(" ip a | grep CAST | grep UP").empty())
    throw networkAdaptersOff();
  throw internal::diagnose(listing);
}

} // namespace

void _addToNetIfs(NetworkInterfaces& list, const NetworkInterface& iface) {
  if (iface.name.empty() || iface.name == "lo")
    return;
  if (iface.gateway.size() > longGateway)
    list.interfaces.push_front(iface);
  else
    list.interfaces.push_back(iface);
}

NetworkInterfaces getNetworkInterfacesLinux() {
  const internal::Gateway gateway = internal::findGateway(run(" ip r show default"));
  if (gateway.address.empty() && allRoutesDown())
    throwDiagnosis();
  return internal::parseInterfaces(run(" ip a"), gateway);
}

} // namespace Qiv
