#ifndef DESKTOP_NETWORK_H
#define DESKTOP_NETWORK_H

#include <array>
#include <qiv/errors.h>
#include <qiv/net.h>
#include <string>
#include <vector>

/// What one look at the network found.
struct Look {
  Qiv::NetworkInterfaces network;
  Qiv::Result result = true;
};

/// What a ping found.
struct Answer {
  std::string host;
  bool answered = false;
};

/// The table's columns: index, name, MAC, addresses with masks, gateway.
using Row = std::array<std::string, 5>;

/// Looks at this machine's network. Reads lng::language; may be called from any thread.
Look lookAtNetwork();

/// Pings. Reads no language; may be called from any thread.
Answer ping(const std::string& host);

/// A row for each interface.
std::vector<Row> getRows(const Look& look);

#endif
