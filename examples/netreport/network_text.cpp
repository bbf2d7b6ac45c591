#include "network_text.h"

#include "texts.h"

#include <algorithm>
#include <array>

namespace {

using Row = std::array<std::string, 5>;

/// Characters, not bytes: UTF-8 continuation bytes take no column.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

/// A line for the interface and one for each further address.
void addRows(std::vector<Row>& rows, const Qiv::NetworkInterface& iface) {
  rows.push_back({std::to_string(iface.index), iface.name, iface.mac, "", iface.gateway});
  for (std::size_t i = 0; i < iface.addresses.size(); ++i) {
    if (i > 0)
      rows.emplace_back();
    rows.back()[3] = iface.addresses[i].address + " / " + iface.addresses[i].mask;
  }
}

std::string align(const std::vector<Row>& rows) {
  std::array<std::size_t, 5> widths{};
  for (const Row& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i)
      widths[i] = std::max(widths[i], width(row[i]));

  std::string table;
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i)
      table += row[i] + std::string(widths[i] - width(row[i]) + 2, ' ');
    table.erase(table.find_last_not_of(' ') + 1);
    table += '\n';
  }
  return table;
}

} // namespace

std::string formatTable(const Qiv::NetworkInterfaces& network) {
  const auto titles = texts::columns();
  std::vector<Row> rows(1);
  std::copy(titles.begin(), titles.end(), rows[0].begin());
  for (const Qiv::NetworkInterface& iface : network.interfaces)
    addRows(rows, iface);
  return align(rows) + "\n" + texts::hasInterface(network.hasInterface) + "\n" +
         texts::hasAddress(network.hasAddress);
}

std::string formatLines(const Qiv::NetworkInterfaces& network) {
  std::string lines;
  for (const Qiv::NetworkInterface& iface : network.interfaces) {
    lines += (lines.empty() ? "" : "\n") + iface.name + " " + iface.mac;
    for (const Qiv::NetworkAddr& address : iface.addresses)
      lines += " " + address.address + "/" + address.mask;
    if (!iface.gateway.empty())
      lines += std::string(" ") + texts::columns()[4] + " " + iface.gateway;
  }
  return lines;
}

std::string findGateway(const Qiv::NetworkInterfaces& network) {
  for (const Qiv::NetworkInterface& iface : network.interfaces)
    if (!iface.gateway.empty())
      return iface.gateway;
  return {};
}
