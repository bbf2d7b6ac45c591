#ifndef QIV_INTERNAL_CHECKED_TEXT_H
#define QIV_INTERNAL_CHECKED_TEXT_H

#include <stdexcept>

namespace Qiv::internal {

/// `text` if it is not null. The wording for a null text is part of our interface; standard
/// libraries change theirs from release to release, so it is thrown here.
inline const char* checkedText(const char* text) {
  if (!text)
    throw std::logic_error("basic_string::_M_construct null not valid");
  return text;
}

} // namespace Qiv::internal

#endif
