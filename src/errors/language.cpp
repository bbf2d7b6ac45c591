#include "qiv/errors.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

unsigned char lng::language = 1;

namespace {

enum Language : unsigned char { english, russian };

/// The first of the variables that is set; an empty one counts as not set.
std::string_view firstSet(std::initializer_list<const char*> variables,
                          std::string_view otherwise) {
  for (const char* variable : variables)
    if (const char* value = std::getenv(variable); value && *value)
      return value;
  return otherwise;
}

/// "ru" of "ru_RU.UTF-8".
std::string_view languageOf(std::string_view locale) {
  return locale.substr(0, locale.find_first_of("_.@"));
}

bool isUntranslated(std::string_view locale) {
  return languageOf(locale) == "C" || locale == "POSIX";
}

/// Of a list of locales such as "de:ru_RU:en" the first that we speak decides.
Language firstSpoken(std::string_view locales) {
  while (!locales.empty()) {
    const std::string_view locale = locales.substr(0, locales.find(':'));
    if (languageOf(locale) == "ru")
      return russian;
    if (languageOf(locale) == "en" || isUntranslated(locale))
      return english;
    locales.remove_prefix(std::min(locale.size() + 1, locales.size()));
  }
  return english;
}

} // namespace

void lng::setFromLocale() {
  const std::string_view locale = firstSet({"LC_ALL", "LC_MESSAGES", "LANG"}, "C");
  language = isUntranslated(locale) ? english : firstSpoken(firstSet({"LANGUAGE"}, locale));
}
