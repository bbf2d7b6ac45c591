#ifndef QIV_NUMERIC_NUMBER_TEXT_H
#define QIV_NUMERIC_NUMBER_TEXT_H

#include <cstddef>
#include <string_view>

namespace Qiv::internal {

/// tryConvert (qiv/numeric.h) for a part of a text.
bool tryConvert(std::string_view text, double& out);

/// Reads the number at the start of the text as tryConvert<int, true> does. Returns where it ends;
/// npos, with `out` untouched, when there is none.
std::size_t readInt(std::string_view text, int& out);

/// All of which a double holds exactly.
constexpr double powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                                  1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};

/// The longest number is one like "1.23456789012345e-308".
constexpr std::size_t maxNumberLength = 24;

/// Writes the text of convertToString (qiv/numeric.h), at most maxNumberLength characters without a
/// terminator. Returns its end.
char* writeNumber(char* first, double value, int precision);

} // namespace Qiv::internal

#endif
