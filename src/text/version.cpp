#include "qiv/text.h"

#include "numeric/number_text.h"

#include <charconv>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <tuple>

namespace Qiv {

namespace {

int checked(int value, const char* message) {
  if (value < 0)
    throw std::invalid_argument(message);
  return value;
}

} // namespace

// Braces, because some systems define major() and minor() as macros.
Version::Version(int major, int minor)
    : major{checked(major, "Значение major < 0")}, minor{checked(minor, "Значение minor < 0")} {}

Version::Version(int major, int minor, int build) : Version(major, minor) {
  this->build = checked(build, "Значение build < 0");
}

Version::Version(int major, int minor, int build, int revision) : Version(major, minor, build) {
  this->revision = checked(revision, "Значение revision < 0");
}

Version::Version(const std::string& text) {
  if (!parse(text))
    setData(0, 0, 0, 0);
}

std::string Version::to_string() const {
  return to_string(build < 0 ? 2 : revision < 0 ? 3 : 4);
}

std::string Version::to_string(int count) const {
  constexpr int maxLength = std::numeric_limits<int>::digits10 + 2;
  const int parts[] = {major, minor, build, revision};
  char text[4 * maxLength];
  char* end = text;
  for (int i = 0; count <= 4 && i < count; ++i) {
    if (i > 0)
      *end++ = separator.front();
    end = std::to_chars(end, std::end(text), parts[i]).ptr;
  }
  return {text, end};
}

std::vector<unsigned char> Version::getBytes() const {
  std::vector<unsigned char> bytes;
  bytes.reserve(4);
  bytes.push_back(static_cast<unsigned char>(major));
  bytes.push_back(static_cast<unsigned char>(minor));
  for (const int part : {build, revision})
    if (part >= 0)
      bytes.push_back(static_cast<unsigned char>(part));
  return bytes;
}

int Version::compareTo(const Version& other) const {
  const auto mine = std::tie(major, minor, build, revision);
  const auto others = std::tie(other.major, other.minor, other.build, other.revision);
  return mine < others ? -1 : mine > others;
}

void Version::setData(int major, int minor, int build, int revision) {
  *this = Version(major, minor, build, revision);
}

bool Version::parse(const std::string& text) {
  std::string_view rest = text;
  for (int index = 0;; ++index) {
    int value = 0;
    const std::size_t end = internal::readInt(rest, value);
    const bool last = end == rest.size();
    if (last ? index == 0 : end > rest.size() || rest[end] != '.')
      return false;
    if (!_setItem(index, value))
      return false;
    if (last)
      return true;
    rest.remove_prefix(end + 1);
  }
}

bool Version::_setItem(int index, int value) {
  checked(value, "Значение < 0");
  static constexpr int Version::*parts[] = {&Version::major, &Version::minor, &Version::build,
                                            &Version::revision};
  if (index < 0 || index > 3)
    return false;
  this->*parts[index] = value;
  return true;
}

} // namespace Qiv
