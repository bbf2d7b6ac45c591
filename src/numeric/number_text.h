#ifndef QIV_NUMERIC_NUMBER_TEXT_H
#define QIV_NUMERIC_NUMBER_TEXT_H

#include <cstddef>
#include <string_view>

namespace Qiv::internal {

/// tryConvert (qiv/numeric.h) for a part of a text.
bool tryConvert(std::string_view text, double& out);
bool tryConvert(std::string_view text, int& out);

/// The longest number is one like "1.23456789012345e-308".
constexpr std::size_t maxNumberLength = 24;

/// Writes the text of convertToString (qiv/numeric.h), at most maxNumberLength characters without a
/// terminator. Returns its end.
char* writeNumber(char* first, double value, int precision);

} // namespace Qiv::internal

#endif
