#ifndef NETREPORT_TEXTS_H
#define NETREPORT_TEXTS_H

#include <qiv/errors.h>

/// netreport's own words, in lng::language as the library's are.
namespace texts {

inline const char* choose(const char* english, const char* russian) {
  const char* const ar[] = {english, russian};
  return ar[lng::language];
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
inline const char* hasInterface() {
  return choose("Has an interface", "Есть интерфейс");
}
inline const char* hasAddress() {
  return choose("Has an address", "Есть адрес");
}
inline const char* yesNo(bool yes) {
  return yes ? choose("yes", "да") : choose("no", "нет");
}
inline const char* answers() {
  return choose("answers", "отвечает");
}
inline const char* noAnswer() {
  return choose("no answer", "не отвечает");
}
inline const char* noGateway() {
  return choose("no gateway to ping", "нет шлюза для проверки");
}
inline const char* log() {
  return choose("Log", "Журнал");
}

} // namespace texts

#endif
