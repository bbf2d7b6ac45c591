/// Checks settings and shows everything that is wrong with them, with the causes.

#include <iostream>
#include <qiv/errors.h>
#include <stdexcept>

namespace {

using Qiv::LogicError;
using Qiv::Result;

Result checkName(const std::string& name) {
  if (name.empty())
    return LogicError::create("the name is missing");
  return true;
}

/// An exception becomes the cause of an error with words of its own.
Result checkPort(const std::string& text) try {
  if (std::stoi(text) > 65535)
    return LogicError::create("the port is beyond 65535");
  return true;
} catch (const std::invalid_argument& thrown) {
  const auto exception = std::make_shared<std::invalid_argument>(thrown);
  return LogicError::create("the port is no number",
                            Qiv::ExceptionError::create(thrown.what(), exception));
}

Result checkSettings(const std::string& name, const std::string& port) {
  const Result checks = Qiv::ResultHelper::combineResults({checkName(name), checkPort(port)});
  if (checks)
    return true;
  return LogicError::create("cannot use the settings", checks.getError());
}

void show(const Result& result) {
  if (result)
    std::cout << "fine\n";
  else
    std::cout << Qiv::ObjectErrorHelper::toDisplayString({result.getError()}, 0) << "\n";
}

} // namespace

int main() {
  lng::setFromLocale(); // for what the library says itself
  show(checkSettings("printer", "9100"));
  show(checkSettings("printer", "91000"));
  show(checkSettings("", "nine"));
}
