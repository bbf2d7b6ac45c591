#ifndef QIV_NUMERIC_H
#define QIV_NUMERIC_H

/// Ranges of numbers, comparison within a tolerance, numbers as text, a three-state boolean.
///
///     double entered;
///     if (Qiv::tryConvert<double, true>(text, entered)) // "." is the point in every locale
///       value = Qiv::ApproximateLogic::limitValue(entered, range, {1e-9, 0}, false, true);
///
/// Nothing here throws for a bad number or text. No function keeps state; all may be called from
/// any thread.

#include "qiv/export.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <type_traits>

namespace Qiv {

// ---------------------------------------------------------------------------------------------
// Numbers as text
// ---------------------------------------------------------------------------------------------

/// The text of a number, as a stream writes it in general notation. Provided for <double, true>,
/// where `true` stands for the classic locale.
///
/// A double holds 15 digits; `precision` says how many of them are given up. A number from 1 on has
/// up to 15 significant digits, of which up to 15 - precision stand after the point. A smaller one
/// has up to 15 - precision significant digits, and what is closer to zero than 10^(precision - 15)
/// is "0". A negative number has up to 6 significant digits, whatever the precision. Infinities are
/// "inf" and "-inf", NaN is "nan" or "-nan".
template <typename T, bool Classic>
std::string convertToString(const T& value, int precision);

/// True when the whole text is a number, otherwise false and `out` is untouched. Provided for
/// <double, true> and <int, true>, which read what a stream with the classic locale reads: blanks
/// and a sign may lead, nothing may follow, an int is decimal. An overflow is an error, a double
/// that underflows is not. A double may also be "nan", "inf" or "infinity" in any case, with
/// nothing but a "-" before it.
template <typename T, bool Classic>
bool tryConvert(const std::string& text, T& out);

/// Reads the number at `pos` (which blanks may precede) or the special name. Returns the position
/// after it; `pos`, with `out` untouched, when there is none. Provided for double.
template <typename T>
std::size_t tryExtractFloating(const std::string& text, std::size_t pos, T& out);

/// Reads "nan", "inf" or "infinity" at `pos`, in any case and perhaps after a "-". Returns as
/// tryExtractFloating does. Provided for double.
template <typename T>
std::size_t tryExtractSpecialFloating(const std::string& text, std::size_t pos, T& out);

// clang-format off
/// @cond
template <> QIV_API std::string convertToString<double, true>(const double& value, int precision);
template <> QIV_API bool tryConvert<double, true>(const std::string& text, double& out);
template <> QIV_API bool tryConvert<int, true>(const std::string& text, int& out);
template <> QIV_API std::size_t tryExtractFloating<double>(const std::string& text, std::size_t pos, double& out);
template <> QIV_API std::size_t tryExtractSpecialFloating<double>(const std::string& text, std::size_t pos, double& out);
/// @endcond
// clang-format on

/// Checks and rounds numbers. Pure functions.
class QIV_API NumericHelper {
public:
  /// For an input field that is checked while the user types: true when the whole text is a number
  /// or special name for tryExtractFloating, or is incomplete.
  static bool isNumericInput(const std::string& text);

  /// True for "", "." and "-", from which a number may still grow.
  static bool isIncompleteNumericInput(const std::string& text);

  /// The point nearest to `value` on the grid base + n * step; of two that are equally near the one
  /// farther from `base`. A step of 0 leaves the value as it is.
  static double stepRounding(double value, double step, double base);
};

// ---------------------------------------------------------------------------------------------
// Ranges
// ---------------------------------------------------------------------------------------------

/// The values that a number may take: bounds, infinite where there is none, and the spacing of the
/// grid, 0 for any value. Nothing is checked: bounds may be reversed, any field may be NaN.
class QIV_API NumericRange {
public:
  /// Keeps the three as they are.
  NumericRange(double min, double max, double step) : min(min), max(max), step(step) {}

  /// Every value: no bounds, no step.
  static NumericRange Full();

  /// The larger min, the smaller max and the larger step. Bounds that come out reversed are left
  /// so; where a number is NaN, the field of `a` is taken.
  static NumericRange And(const NumericRange& a, const NumericRange& b);

  /// As given.
  /// @{
  double getMin() const { return min; }
  double getMax() const { return max; }
  double getStep() const { return step; }
  /// @}

  /// True when every value is allowed.
  bool isFull() const { return *this == Full(); }

  /// Compare as doubles do: a range that holds a NaN does not equal itself.
  /// @{
  bool operator==(const NumericRange& other) const {
    return min == other.min && max == other.max && step == other.step;
  }
  bool operator!=(const NumericRange& other) const { return !(*this == other); }
  /// @}

  /// `range >> out` writes the range's text to the stream.
  void operator>>(std::ostringstream& out) const;
  /// `range << in` reads the range from all the text that the stream holds, whatever was read
  /// before. A text that is no range sets badbit and leaves the range as it was.
  void operator<<(std::istringstream& in);

private:
  double min;
  double max;
  double step;
};

/// The text of a range: "min;max;step", each number in the classic locale.
class QIV_API NumericRangeTypeConverter {
public:
  /// The numbers are written by convertToString with precision 2. The full range is "-inf;inf;0".
  static std::string toStringData(const NumericRange& range);

  /// Reads three numbers as tryConvert does. On failure false is returned and `out` is untouched.
  static bool fromStringData(const std::string& text, NumericRange& out);
};

// ---------------------------------------------------------------------------------------------
// Approximate comparison
// ---------------------------------------------------------------------------------------------

/// How far apart two numbers may be and still count as equal. Either bound suffices; a negative one
/// admits nothing.
struct ApproximateTolerance {
  double relative = 0; ///< in terms of the larger magnitude of the two
  double absolute = 0; ///< in the unit of the numbers
};

/// Comparison and limiting of numbers within a tolerance. Pure functions.
class QIV_API ApproximateLogic {
public:
  /// True within the tolerance. An infinity equals only itself, NaN nothing.
  static bool equals(double a, double b, const ApproximateTolerance& tol);

  /// True between the bounds or within the tolerance of one. NaN is contained everywhere.
  /// @{
  static bool contains(double value, double min, double max, const ApproximateTolerance& tol);
  static bool contains(double value, NumericRange range, const ApproximateTolerance& tol);
  /// @}

  /// The value moved between the bounds and onto the grid, which starts at `min` if `stepFromMin`
  /// is set, otherwise at 0. A value on the grid within the tolerance is kept as it is, unless
  /// `preferStepValue` asks for the grid's. A bound within the tolerance of the grid point is
  /// taken in its place. NaN when the bounds are reversed or no grid point lies between them.
  /// @{
  static double limitValue(double value, double min, double max, double step,
                           const ApproximateTolerance& tol, bool stepFromMin, bool preferStepValue);
  static double limitValue(double value, NumericRange range, const ApproximateTolerance& tol,
                           bool stepFromMin, bool preferStepValue);
  /// @}
};

// ---------------------------------------------------------------------------------------------
// Nullable values
// ---------------------------------------------------------------------------------------------

/// A value that may be absent.
template <typename T>
struct Nullable {
  /// Null.
  Nullable() = default;
  /// Null.
  Nullable(std::nullptr_t) {}
  /// The value, null only if `hasValue` says so.
  Nullable(T value, bool hasValue = true) : value(value), hasValue(hasValue) {}
  /// A pointer, such as a text, would turn into a bool and read as true.
  template <typename P, typename U = T, typename = std::enable_if_t<std::is_same_v<U, bool>>>
  Nullable(P*, bool = true) = delete;

  T value{};             ///< meaningful only when hasValue is set
  bool hasValue = false; ///< false for null
};

/// True, false or null.
class QIV_API NullableBool : public Nullable<bool> {
public:
  using Nullable::Nullable;
  /// The same state.
  NullableBool(const Nullable<bool>& other) : Nullable(other) {}

  /// `value >> out` writes "true" or "false" to the stream, nothing for null.
  void operator>>(std::ostringstream& out) const;
  /// `value << in` reads all the text that the stream holds, whatever was read before: "true",
  /// "True" or "1", "false", "False" or "0", null from an empty text. Any other text sets badbit
  /// and leaves the value as it was.
  void operator<<(std::istringstream& in);
};

} // namespace Qiv

#endif
