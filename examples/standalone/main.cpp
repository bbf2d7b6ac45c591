/// One thing of each family, in a project of its own: its CMakeLists.txt takes the library from
/// where it is installed, or builds it along.

#include <qiv/concurrency.h>
#include <qiv/errors.h>
#include <qiv/files.h>
#include <qiv/log.h>
#include <qiv/net.h>
#include <qiv/numeric.h>
#include <qiv/text.h>
#include <qiv/xml.h>

#include <iostream>

using namespace Qiv;

namespace {

/// What the library throws is caught by its type and becomes an error to show.
Result start(const char* program) try {
  spawnSyncWithThrow(program);
  return true;
} catch (const std::string& reason) {
  return LogicError::create(reason);
}

void printValues(const Net::NetAddr<4, '.'>& host) {
  std::cout << TypeHelper::getTypeName(typeid(host)) << ": " << host.to_string() << "\n"
            << DateTimeHelper::getDisplayTimeString(1700000000, "%d.%m.%Y %H:%M") << "\n"
            << NumericRangeTypeConverter::toStringData({0, 10, 0.5}) << "\n"
            << XmlHelper::escapeXml("<" + Version(1, 2).to_string() + ">") << "\n";
}

} // namespace

/// Tells two failures as one. Ends with 0 when both have come.
int main() {
  lng::setFromLocale();
  const Net::NetAddr<4, '.'> host("127.0.0.1");
  printValues(host);
  const std::string nobody = "ftp://" + host.to_string() + ":1/";
  const Result all = ResultHelper::combineResults(
      {start("/no/such/program"), Net::Web::Client().upload("name", nobody, "/proc/self/maps")});
  std::cout << ObjectErrorHelper::toDisplayString({all.getError()}, 0) << "\n";
  const auto* const both = dynamic_cast<const CombineError*>(all.getError().get());
  return both && both->getInnerErrors().size() == 2 ? 0 : 1;
}
