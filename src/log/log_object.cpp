#include "qiv/log.h"

#include "qiv/files.h"
#include "qiv/text.h"
#include "qiv/xml.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <giomm/file.h>
#include <giomm/init.h>
#include <string_view>
#include <vector>

namespace QivLog {

namespace {

using Clock = std::chrono::system_clock;

constexpr std::size_t keptLogs = 10;

constexpr std::string_view header = R"(<!DOCTYPE html><html><head><meta charset="UTF-8"><style>
.log-entry { margin:2px 0; font-family: sans-serif; font-size:0.9em; }
.log-type { padding:2px 4px; color:#000; width: 70px }
.log-time { margin: 0 5px; color:#555; }
.log-msg { white-space: pre-line; }
.log-info { background:#b3e5fc; }
.log-warn { background:#ffecb3; }
.log-error { background:#ffcdd2; }
.log-default { background:#ffffff; }
</style></head><body>
)";

std::string join(std::initializer_list<std::string_view> pieces) {
  std::size_t size = 0;
  for (const std::string_view piece : pieces)
    size += piece.size();
  std::string text;
  text.reserve(size);
  for (const std::string_view piece : pieces)
    text += piece;
  return text;
}

const char* cssClass(const std::string& type) {
  if (type == "Info")
    return "log-info";
  if (type == "Warn")
    return "log-warn";
  if (type == "Error")
    return "log-error";
  return "log-default";
}

std::string formatLocalTime(Clock::time_point time, const char* format) {
  const std::time_t seconds = Clock::to_time_t(time);
  std::tm local{};
  localtime_r(&seconds, &local);
  char text[100];
  return {text, std::strftime(text, sizeof text, format, &local)};
}

bool isLogName(const std::string& name) {
  return Qiv::StringHelper::startsWith(name, "log_") && Qiv::StringHelper::endsWith(name, ".html");
}

struct LogFile {
  std::string name;
  guint64 modified;
};

std::vector<LogFile> listLogs(const std::string& folder) {
  static const bool initialised = (Gio::init(), true);
  (void)initialised;
  std::vector<LogFile> logs;
  const auto files = Gio::File::create_for_path(folder)->enumerate_children(
      "standard::name,time::modified", Gio::FILE_QUERY_INFO_NONE);
  while (const auto info = files->next_file())
    if (const std::string name = info->get_name(); isLogName(name))
      logs.push_back({name, info->get_attribute_uint64("time::modified")});
  files->close();
  return logs;
}

} // namespace

LogObject::LogObject() : LogObject(Qiv::getQivCrossDocDir() + "log/") {}
LogObject::LogObject(const std::string& logDir) : _logDir(logDir) {}

void LogObject::writeInfo(const std::string& message) {
  _write(message, "Info");
}
void LogObject::writeWarn(const std::string& message) {
  _write(message, "Warn");
}
void LogObject::writeError(const std::string& message) {
  _write(message, "Error");
}

void LogObject::clear() {
  Qiv::mkdir_with_parents(_logDir.c_str());
  std::vector<LogFile> logs = listLogs(_logDir);
  std::sort(logs.begin(), logs.end(),
            [](const LogFile& a, const LogFile& b) { return a.modified < b.modified; });
  for (std::size_t i = 0; i + keptLogs < logs.size(); ++i)
    Gio::File::create_for_path(_logDir + logs[i].name)->remove();
}

void LogObject::_write(const std::string& message, const std::string& type) {
  std::ofstream file = Qiv::openOutputFileUTF8Name(_getLogPath(), std::ios_base::app);
  const bool isEmpty = file.tellp() == std::ofstream::pos_type(0);
  // One insertion, which the stream passes on as one write: appended entries stay whole.
  file << join({isEmpty ? header : "", R"(<div class="log-entry"><span class="log-type )",
                cssClass(type), R"(">)", type, R"(</span> <span class="log-time">)",
                _currentTimestamp(), R"(</span> <span class="log-msg">)",
                Qiv::XmlHelper::escapeXml(message), "</span></div>\n"});
}

std::string LogObject::_getLogPath() {
  if (_logPath.empty()) {
    _logPath = _logDir + "log_" + formatLocalTime(Clock::now(), "%Y%m%d_%H%M%S") + ".html";
    Qiv::mkdir_with_parents(_logDir.c_str());
  }
  return _logPath;
}

std::string LogObject::_currentTimestamp() {
  const auto now = Clock::now();
  const auto milliseconds =
      std::chrono::nanoseconds(now.time_since_epoch()).count() / 1000000 % 1000;
  std::string fraction = std::to_string(1000 + milliseconds);
  fraction[0] = '.';
  return formatLocalTime(now, "%d:%m:%Y %H:%M:%S") + fraction;
}

} // namespace QivLog
