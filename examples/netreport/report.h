#ifndef NETREPORT_REPORT_H
#define NETREPORT_REPORT_H

#include <qiv/net.h>
#include <string>

/// The interfaces as an aligned table with the two flags below, in lng::language.
std::string formatTable(const Qiv::NetworkInterfaces& network);

/// The gateway of the first interface that has one; empty when none has.
std::string findGateway(const Qiv::NetworkInterfaces& network);

#endif
