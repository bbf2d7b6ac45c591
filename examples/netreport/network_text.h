#ifndef NETREPORT_NETWORK_TEXT_H
#define NETREPORT_NETWORK_TEXT_H

#include <qiv/net.h>
#include <string>

/// The interfaces as an aligned table with the two flags below, in lng::language.
std::string formatTable(const Qiv::NetworkInterfaces& network);

/// A line for each interface, for the log.
std::string formatLines(const Qiv::NetworkInterfaces& network);

/// The gateway of the first interface that has one; empty when none has.
std::string findGateway(const Qiv::NetworkInterfaces& network);

#endif
