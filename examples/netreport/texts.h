#ifndef NETREPORT_TEXTS_H
#define NETREPORT_TEXTS_H

#include <qiv/errors.h>
#include <string>

/// netreport's own words, in lng::language as the library's are.
namespace texts {

inline const char* choose(const char* english, const char* russian) {
  const char* const ar[] = {english, russian};
  return ar[lng::language];
}

inline const char* title() {
  return choose("Network report", "Отчёт о сети");
}
inline const char* index() {
  return choose("Index", "Номер");
}
inline const char* name() {
  return choose("Name", "Имя");
}
inline const char* addresses() {
  return choose("Address / mask", "Адрес / маска");
}
inline const char* gateway() {
  return choose("Gateway", "Шлюз");
}
inline const char* recentHosts() {
  return choose("Pinged lately", "Недавно проверены");
}
inline const char* report() {
  return choose("Report", "Отчёт");
}
inline const char* page() {
  return choose("Page", "Страница");
}
inline const char* log() {
  return choose("Log", "Журнал");
}
inline const char* running() {
  return choose("Running for", "Работает");
}
inline const char* noLock() {
  return choose("Another netreport may use the same files",
                "Файлы могут быть заняты другим netreport");
}
inline std::string notWritten(const std::string& file) {
  return choose("Cannot write ", "Не удалось записать ") + file;
}

inline std::string yesNo(const char* question, bool yes) {
  return std::string(question) + ": " + (yes ? choose("yes", "да") : choose("no", "нет"));
}
inline std::string hasInterface(bool yes) {
  return yesNo(choose("Has an interface", "Есть интерфейс"), yes);
}
inline std::string hasAddress(bool yes) {
  return yesNo(choose("Has an address", "Есть адрес"), yes);
}
inline std::string ping(const std::string& host, bool answered) {
  return "ping " + host + ": " +
         (answered ? choose("answers", "отвечает") : choose("no answer", "не отвечает"));
}

} // namespace texts

#endif
