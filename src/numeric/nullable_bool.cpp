#include "qiv/numeric.h"

#include <sstream>

namespace Qiv {

void NullableBool::operator>>(std::ostringstream& out) const {
  if (hasValue)
    out << (value ? "true" : "false");
}

void NullableBool::operator<<(std::istringstream& in) {
  const std::string text = in.str();
  if (text.empty())
    *this = nullptr;
  else if (text == "true" || text == "1" || text == "True")
    *this = true;
  else if (text == "false" || text == "0" || text == "False")
    *this = false;
  else
    in.setstate(std::ios_base::badbit);
}

} // namespace Qiv
