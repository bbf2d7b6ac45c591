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

/// The first text right after a `marker` that is longer than `minimum`; `findEnd(first)` is where
/// it ends, npos at the end of the line.
template <typename FindEnd>
std::string textAfter(const std::string& line, std::string_view marker, std::size_t minimum,
                      FindEnd findEnd) {
  for (std::size_t found = line.find(marker); found != std::string::npos;
       found = line.find(marker, found)) {
    found += marker.size();
    const std::size_t length = std::min<std::size_t>(findEnd(found), line.size()) - found;
    if (length > minimum)
      return line.substr(found, length);
  }
  return {};
}

std::string runAfter(const std::string& line, std::string_view marker, const char* allowed,
                     std::size_t minimum) {
  return textAfter(line, marker, minimum,
                   [&](std::size_t first) { return line.find_first_not_of(allowed, first); });
}

/// What a printed name is to the kernel: "eth0" of "eth0@if8", which tells the link's other end.
std::string_view deviceOf(std::string_view name) {
  return name.substr(0, name.find('@'));
}

/// A fresh record if the line begins one, such as "2: eth0: <BROADCAST,UP> mtu 1500".
std::optional<NetworkInterface> parseHeader(const std::string& line, const Gateway& gateway) {
  char* end;
  const long long index = std::strtoll(line.c_str(), &end, 10);
  const std::size_t last = line.rfind(": ");
  if (end == line.c_str() || *end != ':' || last == std::string::npos)
    return std::nullopt;

  NetworkInterface iface;
  iface.index = static_cast<int>(index);
  const std::size_t start = line.find(": ") + 2;
  if (start <= last)
    iface.name = line.substr(start, last - start);
  iface.caption = iface.name;
  if (deviceOf(iface.name) == gateway.device)
    iface.gateway = gateway.address;
  return iface;
}

/// Reads "    inet ADDRESS/LENGTH ..." or "    inet ADDRESS peer OTHER/LENGTH ...". A length beyond
/// 32 bits wraps.
std::optional<NetworkAddr> parseAddress(const std::string& line) {
  std::size_t position = line.find('/', inetMarker.size());
  if (position == std::string::npos)
    return std::nullopt;
  const std::size_t end = line.find_first_of(" /", inetMarker.size());
  const std::string address = line.substr(inetMarker.size(), end - inetMarker.size());
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
    gateway.device =
        textAfter(line, "dev ", 0, [&](std::size_t first) { return line.find(' ', first); });
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
