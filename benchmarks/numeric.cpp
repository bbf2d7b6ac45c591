// Numbers, ranges and versions as text.

#include "bench.h"

#include <absl/strings/numbers.h>
#include <array>
#include <boost/lexical_cast.hpp>
#include <charconv>
#include <cmath>
#include <double-conversion/double-conversion.h>
#include <fast_float/fast_float.h>
#include <fmt/format.h>
#include <qiv/numeric.h>
#include <qiv/text.h>
#include <sstream>

namespace {

using double_conversion::DoubleToStringConverter;
using double_conversion::StringToDoubleConverter;

constexpr int precision = 2;

template <typename T>
std::string writeWithStream(T value, int digits) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(digits);
  out << value;
  return out.str();
}

template <typename T>
T readWithStream(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T value = 0;
  in >> value;
  return value;
}

int significantDigits(double value) {
  return std::min(15 - precision + static_cast<int>(std::ceil(std::log10(value))), 15);
}

template <typename... Digits>
std::string writeByHand(double value, Digits... digits) {
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value, digits...).ptr};
}

std::string printed(double value, int digits) {
  char buffer[32];
  return {buffer,
          static_cast<std::size_t>(std::snprintf(buffer, sizeof buffer, "%.*g", digits, value))};
}

std::string doubleConverted(double value) {
  char buffer[32];
  double_conversion::StringBuilder builder(buffer, sizeof buffer);
  DoubleToStringConverter::EcmaScriptConverter().ToShortest(value, &builder);
  return {buffer, static_cast<std::size_t>(builder.position())};
}

void addDoubleToText(const std::string& length, double value, double target) {
  const int digits = significantDigits(value);
  bench::Row(
      "double to text, " + length, target,
      [=] { return Qiv::convertToString<double, true>(value, precision); },
      [=] { return writeWithStream(value, significantDigits(value)); })
      .peer("to_chars", [=] { return writeByHand(value); })
      .peer("to_chars of as many digits",
            [=] { return writeByHand(value, std::chars_format::general, digits); })
      .peer("fmt", [=] { return fmt::format("{}", value); })
      .peer("double-conversion", [=] { return doubleConverted(value); })
      .peer("snprintf", [=] { return printed(value, digits); });
}

template <typename T>
T readByHand(const std::string& text) {
  T value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

void addTextToDouble(const std::string& text) {
  bench::Row(
      "text to double, " + text, 1.5,
      [=] {
        double value = 0;
        Qiv::tryConvert<double, true>(text, value);
        return value;
      },
      [=] { return readWithStream<double>(text); })
      .peer("from_chars", [=] { return readByHand<double>(text); })
      .peer("fast_float",
            [=] {
              double value = 0;
              fast_float::from_chars(text.data(), text.data() + text.size(), value);
              return value;
            })
      .peer("abseil",
            [=] {
              double value = 0;
              return absl::SimpleAtod(text, &value) ? value : 0;
            })
      .peer("boost", [=] { return boost::lexical_cast<double>(text); })
      .peer("double-conversion",
            [=] {
              int consumed;
              return StringToDoubleConverter(0, 0, 0, nullptr, nullptr)
                  .StringToDouble(text.data(), static_cast<int>(text.size()), &consumed);
            })
      .peer("strtod", [=] { return std::strtod(text.c_str(), nullptr); });
}

void addTextToInt(const std::string& text) {
  bench::Row(
      "text to int", 1.5,
      [=] {
        int value = 0;
        Qiv::tryConvert<int, true>(text, value);
        return value;
      },
      [=] { return readWithStream<int>(text); })
      .peer("from_chars", [=] { return readByHand<int>(text); })
      .peer("abseil",
            [=] {
              int value = 0;
              return absl::SimpleAtoi(text, &value) ? value : 0;
            })
      .peer("boost", [=] { return boost::lexical_cast<int>(text); })
      .peer("strtol", [=] { return static_cast<int>(std::strtol(text.c_str(), nullptr, 10)); });
}

/// Numbers between separators, as one writes and reads them with charconv.
template <typename T, std::size_t N>
std::string joinByHand(const std::array<T, N>& numbers, char separator) {
  char buffer[32 * N];
  char* end = buffer;
  for (const T number : numbers) {
    end = std::to_chars(end, buffer + sizeof buffer, number).ptr;
    *end++ = separator;
  }
  return {buffer, end - 1};
}

template <typename T, std::size_t N>
std::array<T, N> splitByHand(const std::string& text) {
  std::array<T, N> numbers{};
  const char* position = text.data();
  for (T& number : numbers)
    position = std::from_chars(position, text.data() + text.size(), number).ptr + 1;
  return numbers;
}

void addRange(double min, double max, double step) {
  using Qiv::NumericRange, Qiv::NumericRangeTypeConverter;
  const NumericRange range(min, max, step);
  bench::Row(
      "range text round trip", 0.95,
      [=] {
        NumericRange read = NumericRange::Full();
        NumericRangeTypeConverter::fromStringData(NumericRangeTypeConverter::toStringData(range),
                                                  read);
        return read;
      },
      [=] {
        std::ostringstream out;
        out.imbue(std::locale::classic());
        out << range.getMin() << ';' << range.getMax() << ';' << range.getStep();
        std::istringstream in(out.str());
        in.imbue(std::locale::classic());
        double min = 0, max = 0, step = 0;
        char separator;
        in >> min >> separator >> max >> separator >> step;
        return NumericRange(min, max, step);
      })
      .peer("charconv by hand", [=] {
        return splitByHand<double, 3>(joinByHand<double, 3>({min, max, step}, ';'));
      });
}

void addVersion(const std::string& text) {
  bench::Row(
      "version parse and print", 1.5, [=] { return Qiv::Version(text).to_string(); },
      [=] {
        std::istringstream in(text);
        std::ostringstream out;
        std::string piece;
        for (const char* separator = ""; std::getline(in, piece, '.'); separator = ".")
          out << separator << readWithStream<int>(piece);
        return out.str();
      })
      .peer("charconv by hand", [=] { return joinByHand(splitByHand<int, 4>(text), '.'); });
}

} // namespace

void bench::addNumeric() {
  addDoubleToText("short", 12.5, 0.6);
  addDoubleToText("long", 271.828182845904523, 1.6);
  addTextToDouble("12.5");
  addTextToDouble("271.828182845905");
  addTextToInt("271828");
  addRange(-12.5, 1200, 0.01);
  addVersion("1.12.345.6789");
}
