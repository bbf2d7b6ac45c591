#ifndef QIV_TEXT_H
#define QIV_TEXT_H

/// Text and data utilities. All work on bytes, without knowledge of a character set.
///
///     for (const std::string& piece : Qiv::StringHelper::split("1..2", '.'))
///       use(piece); // "1", "", "2"
///
/// The functions keep no state and may be called from any thread.

#include "qiv/export.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Qiv {

class QIV_API StringHelper {
public:
  /// True when `part` stands in `text` exactly at `pos`, within the stretch that ends before `end`
  /// (pass text.size() for no limit). Not a search. `ignoreCase` folds with the C library's
  /// tolower.
  static bool isInclude(const std::string& text, const std::string& part, std::size_t pos,
                        std::size_t end, bool ignoreCase);

  /// `text` with every `from` replaced by `to`, left to right; replacements are not scanned again.
  /// An empty `from` changes nothing.
  static std::string replaceAll(std::string text, const std::string& from, const std::string& to);

  static bool startsWith(const std::string& text, const std::string& prefix);
  static bool endsWith(const std::string& text, const std::string& suffix);

  /// The n + 1 pieces between n delimiters; empty pieces are kept.
  static std::vector<std::string> split(const std::string& text, char delimiter);

  /// Formats with a printf format, of which the caller sees to it that it fits the arguments.
  /// Provided for <int, int, int>. Throws std::runtime_error (and prints the same text) when the C
  /// library cannot format, std::logic_error for a null format.
  template <typename... Args>
  static std::string formatC(const char* format, Args... args);
};

extern template QIV_API std::string StringHelper::formatC<int, int, int>(const char*, int, int,
                                                                         int);

class QIV_API BitConverter {
public:
  /// Two upper-case hexadecimal digits: 10 gives "0A".
  static std::string to_HexString(unsigned char value);
};

} // namespace Qiv

#endif
