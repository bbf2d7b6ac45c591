#ifndef DESKTOP_TEXTS_H
#define DESKTOP_TEXTS_H

#include "../common/texts.h"

namespace texts {

inline const char* title() {
  return choose("Network", "Сеть");
}
inline const char* otherLanguage() {
  return choose("Русский", "English");
}
inline const char* pingButton() {
  return choose("Ping", "Проверить");
}
inline const char* host() {
  return choose("Name or address", "Имя или адрес");
}
inline const char* noLog() {
  return choose("The log cannot be shown", "Не удалось показать журнал");
}
inline const char* lostEntries() {
  return choose("The log cannot be written", "Не удалось записать журнал");
}

} // namespace texts

#endif
