#include "network.h"

namespace {

constexpr unsigned int pingSeconds = 1;

std::string join(const std::vector<Qiv::NetworkAddr>& addresses) {
  std::string lines;
  for (const Qiv::NetworkAddr& address : addresses)
    lines += (lines.empty() ? "" : "\n") + address.address + " / " + address.mask;
  return lines;
}

} // namespace

Look lookAtNetwork() {
  Look look;
  look.result = Qiv::NetworkHelper::tryGetNetworkInterfaces(look.network);
  if (look.result && !look.network.hasInterface)
    look.result = Qiv::LogicError::create(Qiv::ethsNotFound());
  return look;
}

Answer ping(const std::string& host) {
  return {host, Qiv::NetworkHelper::ping(host, pingSeconds)};
}

std::vector<Row> getRows(const Look& look) {
  std::vector<Row> rows;
  for (const Qiv::NetworkInterface& iface : look.network.interfaces)
    rows.push_back(
        {std::to_string(iface.index), iface.name, iface.mac, join(iface.addresses), iface.gateway});
  return rows;
}
