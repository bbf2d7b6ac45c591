/// An application outside the tree, built against the installed library in both documented ways.

#include <qiv/concurrency.h>
#include <qiv/errors.h>
#include <qiv/files.h>
#include <qiv/log.h>
#include <qiv/net.h>
#include <qiv/numeric.h>
#include <qiv/text.h>
#include <qiv/xml.h>

#include <cstdio>

int main() {
  const Qiv::Result result =
      Qiv::ResultHelper::combineResults({true, Qiv::LogicError::create("works", nullptr)});
  const std::string text = Qiv::ObjectErrorHelper::toDisplayString({result.getError()}, 0) + " " +
                           Qiv::Net::NetAddr<4, '.'>("127.0.0.1").to_string() + " " +
                           Qiv::XmlHelper::escapeXml("<") + " " +
                           Qiv::NumericRangeTypeConverter::toStringData(Qiv::NumericRange::Full()) +
                           " " + Qiv::getPathFileName("/a/b");
  std::puts(text.c_str());
  return text == "works 127.0.0.1 &lt; -inf;inf;0 b" ? 0 : 1;
}
