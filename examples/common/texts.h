#ifndef EXAMPLES_TEXTS_H
#define EXAMPLES_TEXTS_H

#include <array>
#include <chrono>
#include <qiv/errors.h>
#include <qiv/log.h>
#include <string>

/// The programs' own words, in lng::language as the library's are.
namespace texts {

inline const char* choose(const char* english, const char* russian) {
  const char* const ar[] = {english, russian};
  return ar[lng::language];
}

/// The columns of a table of interfaces.
inline std::array<const char*, 5> columns() {
  return {choose("Index", "Номер"), choose("Name", "Имя"), "MAC",
          choose("Address / mask", "Адрес / маска"), choose("Gateway", "Шлюз")};
}

inline const char* log() {
  return choose("Log", "Журнал");
}

inline std::string running(std::int64_t seconds) {
  const std::chrono::system_clock::time_point start;
  const std::string time = Qiv::DateTimeHelper::getDisplayDurationString(
      start, start + std::chrono::seconds(seconds), "%02d:%02d:%02d");
  return choose("Running for ", "Работает ") + (time.empty() ? "00:00:00" : time);
}

inline std::string ping(const std::string& host, bool answered) {
  return "ping " + host + ": " +
         (answered ? choose("answers", "отвечает") : choose("no answer", "не отвечает"));
}
inline const char* noHost() {
  return choose("this is no name or address of a host", "это не имя и не адрес узла");
}
inline const char* noPingTool() {
  return choose("the ping tool is not installed", "программа ping не установлена");
}

} // namespace texts

#endif
