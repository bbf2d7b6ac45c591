#include "report.h"

#include "texts.h"

#include <chrono>
#include <libxml++/document.h>
#include <libxml++/nodes/element.h>
#include <qiv/files.h>
#include <qiv/log.h>
#include <qiv/xml.h>

namespace {

/// The words of the page, so that the stylesheet speaks every language.
void addTexts(xmlpp::Element& report) {
  xmlpp::Element& words = *report.add_child("texts");
  words.set_attribute("title", texts::title());
  words.set_attribute("index", texts::columns()[0]);
  words.set_attribute("name", texts::columns()[1]);
  words.set_attribute("address", texts::columns()[3]);
  words.set_attribute("gateway", texts::columns()[4]);
  words.set_attribute("recent", texts::recentHosts());
}

void addInterface(xmlpp::Element& report, const Qiv::NetworkInterface& iface) {
  xmlpp::Element& element = *report.add_child("interface");
  element.set_attribute("index", std::to_string(iface.index));
  element.set_attribute("name", iface.name);
  element.set_attribute("mac", iface.mac);
  element.set_attribute("gateway", iface.gateway);
  for (const Qiv::NetworkAddr& own : iface.addresses) {
    xmlpp::Element& address = *element.add_child("address");
    address.set_attribute("ip", own.address);
    address.set_attribute("mask", own.mask);
  }
}

/// A line of the page's head, good or bad.
void addState(xmlpp::Element& report, const std::string& text, bool good) {
  xmlpp::Element& state = *report.add_child("state");
  state.set_attribute("good", good ? "yes" : "no");
  state.set_child_text(text);
}

} // namespace

std::string getXmlPath() {
  return Qiv::getQivCrossAppCacheDir() + "netreport.xml";
}

bool writeXml(const Findings& findings, const std::string& xmlFile) {
  xmlpp::Document document;
  xmlpp::Element& report = *document.create_root_node("report");
  report.set_attribute("time", Qiv::DateTimeHelper::getDisplayTimeString(
                                   std::chrono::system_clock::now(), "%Y-%m-%d %H:%M:%S"));
  addTexts(report);
  addState(report, texts::hasInterface(findings.network.hasInterface),
           findings.network.hasInterface);
  addState(report, texts::hasAddress(findings.network.hasAddress), findings.network.hasAddress);
  if (!findings.host.empty())
    addState(report, texts::ping(findings.host, findings.answered), findings.answered);
  for (const Qiv::NetworkInterface& iface : findings.network.interfaces)
    addInterface(report, iface);
  for (const std::string& host : findings.recentHosts)
    report.add_child("host")->set_child_text(host);

  Qiv::mkdir_with_parents(Qiv::getPathDirectory(xmlFile).c_str());
  std::ofstream file = Qiv::openOutputFileUTF8Name(xmlFile, std::ios::trunc);
  file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
       << Qiv::XmlHelper::writeToString(&report) << "\n";
  file.close();
  return !file.fail();
}

bool writeHtml(const std::string& xmlFile, const std::string& htmlFile) {
  const std::string stylesheet = Qiv::getQivCrossExeDir() + "../share/netreport/report.xsl";
  Qiv::XslTransformer page(xmlFile.c_str(), stylesheet.c_str(), htmlFile.c_str());
  // Without its stylesheet the page is empty, which the status does not tell.
  return page.transform() == 0 && cross::FileInfo(htmlFile.c_str()).st.st_size > 0;
}
