#include "net/ip_listing.h"

#include "qiv/text.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace Qiv::internal {

namespace {

constexpr std::string_view linkMarker = "    link/ether ";
constexpr std::string_view inetMarker = "    inet ";

bool standsAt(const std::string& text, std::size_t position, std::string_view part) {
  return text.compare(position, part.size(), part) == 0;
}

/// The first run of `allowed` characters right after a `marker` that is longer than `minimum`.
std::string runAfter(const std::string& line, std::string_view marker, const char* allowed,
                     std::size_t minimum) {
  std::size_t found = line.find(marker);
  while (found != std::string::npos) {
    found += marker.size();
    const std::size_t end = std::min(line.find_first_not_of(allowed, found), line.size());
    if (end - found > minimum)
      return line.substr(found, end - found);
    found = line.find(marker, found);
  }
  return {};
}

/// A fresh record if the line begins one, such as "2: eth0: <BROADCAST,UP> mtu 1500".
std::optional<NetworkInterface> parseHeader(const std::string& line, const Gateway& gateway) {
  char* end;
  const long index = std::strtol(line.c_str(), &end, 10);
  const std::size_t last = line.rfind(": ");
  if (end == line.c_str() || *end != ':' || last == std::string::npos)
    return std::nullopt;

  NetworkInterface iface;
  iface.index = static_cast<int>(index);
  const std::size_t start = line.find(": ") + 2;
  if (start <= last)
    iface.name = line.substr(start, last - start);
  iface.caption = iface.name;
  if (iface.name == gateway.device)
    iface.gateway = gateway.address;
  return iface;
}

/// Reads "    inet ADDRESS/LENGTH ...". A length beyond 32 bits wraps.
std::optional<NetworkAddr> parseAddress(const std::string& line) {
  std::size_t position = line.find('/', inetMarker.size());
  if (position == std::string::npos)
    return std::nullopt;
  const std::string address = line.substr(inetMarker.size(), position - inetMarker.size());
  unsigned int length = 0;
  while (line[++position] >= '0' && line[position] <= '9')
    length = length * 10 + static_cast<unsigned int>(line[position] - '0');
  return NetworkAddr{address, masklen_to_maskstring(length)};
}

} // namespace

Gateway findGateway(const std::string& routes) {
  const std::string line = routes.substr(0, routes.find('\n'));
  Gateway gateway;
  gateway.address = runAfter(line, "via ", "0123456789.", 6);
  if (!gateway.address.empty())
    gateway.device = runAfter(
        line, "dev ", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_", 0);
  return gateway;
}

NetworkInterfaces parseInterfaces(const std::string& listing, const Gateway& gateway) {
  NetworkInterfaces list;
  NetworkInterface current;
  for (const std::string& line : StringHelper::split(listing, '\n')) {
    if (auto next = parseHeader(line, gateway)) {
      _addToNetIfs(list, current);
      current = *std::move(next);
    } else if (current.name == "lo") {
      continue;
    } else if (standsAt(line, 0, linkMarker)) {
      current.mac = runAfter(line, linkMarker, "0123456789ABCDEFabcdef-:", 11);
    } else if (standsAt(line, 0, inetMarker)) {
      if (auto address = parseAddress(line))
        current.addresses.push_back(*std::move(address));
    }
  }
  _addToNetIfs(list, current);
  return list;
}

std::string diagnose(const std::string& listing) {
  const std::string text = listing + "\n";
  std::string diagnosis;
  bool adapterUp = false;
  bool linkUp = true;
  std::size_t mark = std::string::npos;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '<') {
      mark = diagnosis.size();
    } else if (standsAt(text, i, ",UP")) {
      adapterUp = true;
    } else if (standsAt(text, i, "state DOWN")) {
      linkUp = false;
    } else if (text[i] == '\n' && mark != std::string::npos) {
      diagnosis.resize(mark);
      diagnosis += !adapterUp ? networkAdapterOff() : linkUp ? noIpAddr() : cableNotPlug();
      mark = std::string::npos;
    }
    diagnosis += text[i];
  }
  diagnosis.pop_back();
  return diagnosis;
}

} // namespace Qiv::internal
