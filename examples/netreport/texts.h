#ifndef NETREPORT_TEXTS_H
#define NETREPORT_TEXTS_H

#include "../common/texts.h"

namespace texts {

inline const char* title() {
  return choose("Network report", "Отчёт о сети");
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

} // namespace texts

#endif
