#include "qiv/text.h"

#include "internal/checked_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <strings.h>

namespace Qiv {

namespace {

/// `text` is at least as long as `part`.
bool equalsIgnoringCase(const char* text, const std::string& part) {
  // strncasecmp folds as tolower does, many bytes at once, but ends at a NUL.
  for (std::size_t done = 0; done < part.size(); done += std::strlen(part.data() + done) + 1)
    if (strncasecmp(text + done, part.data() + done, part.size() - done) != 0)
      return false;
  return true;
}

/// Where `part`, which is not empty, stands first; `end` when it does not.
const char* search(const char* text, const char* end, const std::string& part) {
  const char* const start = text;
  for (std::size_t spent = 0; static_cast<std::size_t>(end - text) >= part.size(); ++text) {
    // Trying wherever the first byte stands is quick while it is rare. memmem is slow to begin
    // with, but linear: it goes on when the tries have cost more than the way that they have led.
    if (spent > 512 + static_cast<std::size_t>(text - start)) {
      const void* found =
          memmem(text, static_cast<std::size_t>(end - text), part.data(), part.size());
      return found ? static_cast<const char*>(found) : end;
    }
    const std::size_t places = static_cast<std::size_t>(end - text) - part.size() + 1;
    text = static_cast<const char*>(std::memchr(text, part[0], places));
    if (!text)
      break;
    if (std::equal(part.begin(), part.end(), text))
      return text;
    spent += 32 + part.size();
  }
  return end;
}

/// In blocks of a fixed size, each with a small sum: g++ makes vectors of that at -O2 already.
std::size_t countOf(char c, const std::string& text) {
  constexpr std::size_t blockSize = 32;
  std::size_t count = 0;
  std::size_t done = 0;
  for (; text.size() - done >= blockSize; done += blockSize) {
    unsigned char inBlock = 0;
    for (std::size_t i = 0; i < blockSize; ++i)
      inBlock += text[done + i] == c;
    count += inBlock;
  }
  for (; done < text.size(); ++done)
    count += text[done] == c;
  return count;
}

} // namespace

bool StringHelper::isInclude(const std::string& text, const std::string& part, std::size_t pos,
                             std::size_t end, bool ignoreCase) {
  if (end - pos < part.size())
    return false;
  if (part.empty())
    return true;
  if (pos > text.size() || text.size() - pos < part.size())
    return false;
  return ignoreCase ? equalsIgnoringCase(text.data() + pos, part)
                    : text.compare(pos, part.size(), part) == 0;
}

std::string StringHelper::replaceAll(std::string text, const std::string& from,
                                     const std::string& to) {
  const char* start = text.data();
  const char* const end = start + text.size();
  const char* found = from.empty() ? end : search(start, end, from);
  if (found == end)
    return text;
  std::vector<const char*> places;
  places.reserve(64);
  for (; found != end; found = search(found + from.size(), end, from))
    places.push_back(found);
  std::string result(text.size() - places.size() * from.size() + places.size() * to.size(), '\0');
  char* out = result.data();
  for (const char* place : places) {
    out = std::copy(start, place, out);
    out = std::copy(to.begin(), to.end(), out);
    start = place + from.size();
  }
  std::copy(start, end, out);
  return result;
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
  pieces.reserve(countOf(delimiter, text) + 1);
  const char* start = text.data();
  const char* const end = start + text.size();
  while (const void* found = std::memchr(start, delimiter, static_cast<std::size_t>(end - start))) {
    pieces.emplace_back(start, static_cast<const char*>(found));
    start = static_cast<const char*>(found) + 1;
  }
  pieces.emplace_back(start, end);
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
