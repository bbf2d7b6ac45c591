#include "qiv/concurrency.h"

#include "internal/checked_text.h"

#include <cstdlib>
#include <cxxabi.h>

namespace Qiv {

std::string TypeHelper::getTypeName(const std::type_info& type) {
  const char* const mangled = type.name();
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(mangled + (*mangled == '*'), nullptr, nullptr, nullptr), &std::free);
  return internal::checkedText(name.get());
}

std::string TypeHelper::getShortTypeName(const std::type_info& type) {
  const std::string name = getTypeName(type);
  return name.substr(name.rfind(':', name.find('<')) + 1);
}

} // namespace Qiv
