#include "qiv/log.h"

namespace QivLog {

LogObject& Log::getInstance() {
  static LogObject& instance = *new LogObject; // never destroyed: others may log at exit
  return instance;
}

void Log::writeInfo(const std::string& message) {
  getInstance().writeInfo(message);
}
void Log::writeWarn(const std::string& message) {
  getInstance().writeWarn(message);
}
void Log::writeError(const std::string& message) {
  getInstance().writeError(message);
}
void Log::clear() {
  getInstance().clear();
}

} // namespace QivLog
