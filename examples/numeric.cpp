/// Takes what a user enters into a number field, whatever the locale.

#include <iostream>
#include <qiv/numeric.h>
#include <sstream>

namespace {

/// The range as it stands in a settings file.
Qiv::NumericRange readRange(const std::string& text) {
  Qiv::NumericRange range = Qiv::NumericRange::Full();
  if (!Qiv::NumericRangeTypeConverter::fromStringData(text, range))
    std::cout << "\"" << text << "\" is no range\n";
  return range;
}

void enter(const std::string& text, const Qiv::NumericRange& range) {
  constexpr Qiv::ApproximateTolerance tolerance = {1e-9, 0};
  double entered;
  std::cout << "\"" << text << "\" ";
  if (Qiv::NumericHelper::isIncompleteNumericInput(text))
    std::cout << "waits for more\n";
  else if (!Qiv::tryConvert<double, true>(text, entered))
    std::cout << "is no number\n";
  else
    std::cout << "becomes "
              << Qiv::convertToString<double, true>(
                     Qiv::ApproximateLogic::limitValue(entered, range, tolerance, false, true), 2)
              << "\n";
}

/// A setting that may be absent.
void readSwitch(const std::string& text) {
  Qiv::NullableBool value;
  std::istringstream in(text);
  value << in;
  std::cout << "\"" << text << "\" is "
            << (in.bad()          ? "wrong"
                : !value.hasValue ? "absent"
                : value.value     ? "on"
                                  : "off")
            << "\n";
}

} // namespace

int main() {
  const Qiv::NumericRange volume = readRange("0;10;0.25");
  for (const char* text : {"-", "2.1", "1e3", "0.1", "2,5", "inf"})
    enter(text, volume);

  const Qiv::NumericRange both = Qiv::NumericRange::And(volume, readRange("-inf;4;0.5"));
  std::cout << Qiv::NumericRangeTypeConverter::toStringData(both) << "\n";

  for (const char* text : {"1", "", "yes"})
    readSwitch(text);
}
