/// An application outside the tree, built against the library in every documented way.

#include <qiv/concurrency.h>
#include <qiv/errors.h>
#include <qiv/files.h>
#include <qiv/log.h>
#include <qiv/net.h>
#include <qiv/numeric.h>
#include <qiv/text.h>
#include <qiv/xml.h>

#include <cstdio>

namespace {

/// What is made in the library is known here by its type, in a cast and an exception, and its texts
/// are ours.
bool typesCross() try {
  const std::shared_ptr<Qiv::ObjectError> error = Qiv::LogicError::create("", nullptr);
  if (dynamic_cast<Qiv::LogicError*>(error.get()) &&
      Qiv::CombineError({}).getMessage() == lng::Common::error())
    Qiv::spawnSyncWithThrow("/nowhere");
  return false;
} catch (const std::string&) {
  return true;
}

/// An upload comes as far as the connection, or says that libcurl is not installed.
bool uploadStarts() {
  lng::language = 0;
  const Qiv::Result result =
      Qiv::Net::Web::Client().upload("name", "ftp://127.0.0.1:1/", "/proc/self/maps");
  const std::string text = Qiv::ObjectErrorHelper::toDisplayString({result.getError()}, 0);
  return text.find("connection") != std::string::npos ||
         text.find("libcurl.so.4") != std::string::npos;
}

} // namespace

int main() {
  const std::string text = Qiv::Net::NetAddr<4, '.'>("127.0.0.1").to_string() + " " +
                           Qiv::XmlHelper::escapeXml("<") + " " +
                           Qiv::NumericRangeTypeConverter::toStringData(Qiv::NumericRange::Full());
  std::puts(text.c_str());
  return typesCross() && uploadStarts() && text == "127.0.0.1 &lt; -inf;inf;0" ? 0 : 1;
}
