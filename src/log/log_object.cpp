#include "qiv/log.h"

#include "internal/clear_of_streams.h"
#include "internal/local_time.h"
#include "internal/system_path.h"
#include "internal/write_all.h"
#include "qiv/files.h"
#include "qiv/text.h"
#include "xml/escape_xml.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <giomm/error.h>
#include <giomm/file.h>
#include <giomm/init.h>
#include <string_view>
#include <tuple>
#include <unistd.h>
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

std::atomic<std::uint64_t> lostEntries{0};

const char* cssClass(const std::string& type) {
  if (type == "Info")
    return "log-info";
  if (type == "Warn")
    return "log-warn";
  if (type == "Error")
    return "log-error";
  return "log-default";
}

void appendLocalTime(std::string& out, Clock::time_point time, const char* format) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time.time_since_epoch());
  const std::tm local = Qiv::internal::localTime(seconds.count());
  char text[100];
  out.append(text, std::strftime(text, sizeof text, format, &local));
}

void appendTimestamp(std::string& out) {
  using namespace std::chrono;
  const auto now = Clock::now();
  appendLocalTime(out, now, "%d:%m:%Y %H:%M:%S");
  const milliseconds inSecond = floor<milliseconds>(now) - floor<seconds>(now);
  std::string fraction = std::to_string(1000 + inSecond.count());
  fraction[0] = '.';
  out += fraction;
}

/// Adds text that begins with the header, which a file that is not empty has already. False when
/// some of it could not be written.
bool appendToPage(const std::string& path, std::string_view text) {
  constexpr int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC;
  const int file = Qiv::internal::clearOfStreams(
      static_cast<int>(TEMP_FAILURE_RETRY(open(Qiv::internal::systemPath(path), flags, 0666))));
  if (file == -1)
    return false;
  if (lseek(file, 0, SEEK_END) != 0)
    text.remove_prefix(header.size());
  const bool written = Qiv::internal::writeAll(file, text);
  return close(file) == 0 && written;
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

/// Another process may prune at the same time.
void removeIfPresent(const std::string& path) {
  try {
    Gio::File::create_for_path(path)->remove();
  } catch (const Gio::Error& error) {
    if (error.code() != Gio::Error::NOT_FOUND)
      throw;
  }
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
  // Ordered by name as well, so that all who prune at once keep the same logs.
  std::sort(logs.begin(), logs.end(), [](const LogFile& a, const LogFile& b) {
    return std::tie(a.modified, a.name) < std::tie(b.modified, b.name);
  });
  for (std::size_t i = 0; i + keptLogs < logs.size(); ++i)
    removeIfPresent(_logDir + logs[i].name);
}

void LogObject::_write(const std::string& message, const std::string& type) {
  if (_logPath.empty())
    _getLogPath();
  constexpr std::size_t mostAround = 250; // what an entry adds to its type and message
  std::string text;
  text.reserve(header.size() + mostAround + type.size() + message.size());
  text.append(header).append(R"(<div class="log-entry"><span class="log-type )");
  text.append(cssClass(type)).append(R"(">)").append(type);
  text.append(R"(</span> <span class="log-time">)");
  appendTimestamp(text);
  text.append(R"(</span> <span class="log-msg">)");
  Qiv::internal::appendEscapedXml(text, message);
  text.append("</span></div>\n");
  // One write, so that entries of several writers stay whole.
  if (!appendToPage(_logPath, text))
    ++lostEntries;
}

std::uint64_t LogObject::getLostEntries() {
  return lostEntries;
}

std::string LogObject::_getLogPath() {
  if (_logPath.empty()) {
    std::string path = _logDir + "log_";
    appendLocalTime(path, Clock::now(), "%Y%m%d_%H%M%S");
    _logPath = path + ".html";
    Qiv::mkdir_with_parents(_logDir.c_str());
  }
  return _logPath;
}

std::string LogObject::_currentTimestamp() {
  std::string text;
  appendTimestamp(text);
  return text;
}

} // namespace QivLog
