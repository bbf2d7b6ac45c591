// Numbers and versions as text.

#include "bench.h"

#include <absl/strings/numbers.h>
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

constexpr int precision = 2;

template <typename T>
T readWithStream(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  T value = 0;
  in >> value;
  return value;
}

std::string writeWithStream(double value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(std::min(15 - precision + static_cast<int>(std::ceil(std::log10(value))), 15));
  out << value;
  return out.str();
}

std::string writeByHand(double value) {
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

std::string doubleConverted(double value) {
  char buffer[32];
  double_conversion::StringBuilder builder(buffer, sizeof buffer);
  DoubleToStringConverter::EcmaScriptConverter().ToShortest(value, &builder);
  return {buffer, static_cast<std::size_t>(builder.position())};
}

void addDoubleToText(const std::string& length, double value, double target) {
  bench::Row(
      "double to text, " + length, target,
      [=] { return Qiv::convertToString<double, true>(value, precision); },
      [=] { return writeWithStream(value); })
      .peer("to_chars", [=] { return writeByHand(value); })
      .peer("fmt", [=] { return fmt::format("{}", value); })
      .peer("double-conversion", [=] { return doubleConverted(value); });
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
      .peer("abseil", [=] {
        double value = 0;
        return absl::SimpleAtod(text, &value) ? value : 0;
      });
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
      .peer("abseil", [=] {
        int value = 0;
        return absl::SimpleAtoi(text, &value) ? value : 0;
      });
}

/// As one reads and writes a version with charconv.
std::string copyByHand(const std::string& version) {
  char buffer[64];
  char* end = buffer;
  for (const char* position = version.data(); position < version.data() + version.size();) {
    int number = 0;
    position = std::from_chars(position, version.data() + version.size(), number).ptr + 1;
    end = std::to_chars(end, buffer + sizeof buffer, number).ptr;
    *end++ = '.';
  }
  return {buffer, end - 1};
}

} // namespace

void bench::addNumeric() {
  addDoubleToText("short", 12.5, 0.6);
  addDoubleToText("long", 271.828182845904523, 1.6);
  addTextToDouble("12.5");
  addTextToDouble("271.828182845905");
  addTextToInt("271828");
  const std::string version = "1.12.345.6789";
  bench::Row("version parse and print", 1.5, [=] {
    return Qiv::Version(version).to_string();
  }).peer("charconv by hand", [=] { return copyByHand(version); });
}
