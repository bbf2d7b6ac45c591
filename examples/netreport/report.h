#ifndef NETREPORT_REPORT_H
#define NETREPORT_REPORT_H

#include <qiv/net.h>
#include <string>
#include <vector>

/// What one look at the network found.
struct Findings {
  Qiv::NetworkInterfaces network;
  std::string host; ///< the pinged one, empty if none was
  bool answered = false;
  std::vector<std::string> recentHosts; ///< the newest last
};

/// The file of the XML report, in the application's cache folder.
std::string getXmlPath();

/// Writes the findings as XML. False when that failed.
bool writeXml(const Findings& findings, const std::string& xmlFile);

/// Turns the XML report into a page. False when that failed.
bool writeHtml(const std::string& xmlFile, const std::string& htmlFile);

#endif
