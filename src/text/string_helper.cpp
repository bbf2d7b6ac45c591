#include "qiv/text.h"

#include "text/checked_text.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace Qiv {

bool StringHelper::isInclude(const std::string& text, const std::string& part, std::size_t pos,
                             std::size_t end, bool ignoreCase) {
  if (end - pos < part.size())
    return false;
  if (part.empty())
    return true;
  if (pos > text.size() || text.size() - pos < part.size())
    return false;
  if (!ignoreCase)
    return text.compare(pos, part.size(), part) == 0;
  return std::equal(
      part.begin(), part.end(), text.begin() + static_cast<std::ptrdiff_t>(pos),
      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

std::string StringHelper::replaceAll(std::string text, const std::string& from,
                                     const std::string& to) {
  std::size_t found = from.empty() ? std::string::npos : text.find(from);
  if (found == std::string::npos)
    return text;
  std::string result;
  std::size_t done = 0;
  for (; found != std::string::npos; found = text.find(from, done)) {
    result.append(text, done, found - done).append(to);
    done = found + from.size();
  }
  return result.append(text, done, std::string::npos);
}

bool StringHelper::startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

bool StringHelper::endsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::vector<std::string> StringHelper::split(const std::string& text, char delimiter) {
  std::vector<std::string> pieces;
  pieces.reserve(1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), delimiter)));
  std::size_t start = 0;
  for (std::size_t end; (end = text.find(delimiter, start)) != std::string::npos; start = end + 1)
    pieces.emplace_back(text, start, end - start);
  pieces.emplace_back(text, start);
  return pieces;
}

template <typename... Args>
std::string StringHelper::formatC(const char* format, Args... args) {
  const int length = std::snprintf(nullptr, 0, internal::checkedText(format), args...);
  if (length < 0) {
    constexpr const char* message = "Qiv::StringHelper::format - Error during formatting.";
    std::printf("%s", message);
    throw std::runtime_error(message);
  }
  std::string text(static_cast<std::size_t>(length), '\0');
  std::snprintf(text.data(), text.size() + 1, format, args...);
  return text;
}

template QIV_API std::string StringHelper::formatC<int, int, int>(const char*, int, int, int);

} // namespace Qiv
