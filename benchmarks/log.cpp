// The HTML log.

#include "bench.h"

#include <fcntl.h>
#include <fstream>
#include <iomanip>
#include <memory>
#include <qiv/log.h>
#include <qiv/xml.h>
#include <regex>
#include <spdlog/details/file_helper.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <sstream>
#include <unistd.h>

namespace {

std::string read(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// The file that a way has written. Two are equal when they differ in nothing but times.
struct Page {
  const char* path;

  bool operator==(const Page& other) const { return withoutTimes() == other.withoutTimes(); }
  std::string withoutTimes() const {
    static const std::regex time(R"(\d\d:\d\d:\d{4} \d\d:\d\d:\d\d\.\d{3})");
    return std::regex_replace(read(path), time, "");
  }
};

void writePlainly(const std::string& path, const std::string& header, const std::string& message) {
  std::ofstream file(path, std::ios::app);
  if (file.tellp() == std::ofstream::pos_type(0))
    file << header;
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  file << R"(<div class="log-entry"><span class="log-type log-info">Info</span> )"
       << R"(<span class="log-time">)"
       << std::put_time(std::localtime(&seconds), "%d:%m:%Y %H:%M:%S") << "." << std::setfill('0')
       << std::setw(3) << milliseconds << R"(</span> <span class="log-msg">)"
       << Qiv::XmlHelper::escapeXml(message) << "</span></div>\n";
}

class ReopeningSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
public:
  explicit ReopeningSink(const std::string& path) { file.open(path); }

private:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t text;
    formatter_->format(message, text);
    file.reopen(false);
    file.write(text);
    file.close();
  }
  void flush_() override {}

  spdlog::details::file_helper file;
};

} // namespace

void bench::addLog() {
  const std::string folder = scratchFolder() + "log/", path = folder + "plain.html";
  const std::string message =
      "Connected to the device at 192.168.0.10, port 502, after 3 attempts; "
      "firmware 2.14.7, serial 0041207";
  const auto log = std::make_shared<QivLog::LogObject>(folder);
  const std::string ourPath = log->_getLogPath();
  log->writeInfo(message);
  const std::string page = read(ourPath);
  const std::string header = page.substr(0, page.find("<div")), entry = page.substr(header.size());
  std::remove(ourPath.c_str());

  const auto logger =
      std::make_shared<spdlog::logger>("", std::make_shared<ReopeningSink>(folder + "spdlog.html"));
  logger->set_pattern(R"(<div class="log-entry"><span class="log-type log-info">Info</span> )"
                      R"(<span class="log-time">%d:%m:%Y %H:%M:%S.%e</span> )"
                      R"(<span class="log-msg">%v</span></div>)");

  bench::Row(
      "log entry of 100 B: open, append, close", 0.8,
      [=] {
        log->writeInfo(message);
        return Page{ourPath.c_str()};
      },
      [=] {
        writePlainly(path, header, message);
        return Page{path.c_str()};
      })
      .peer("spdlog, reopening", [=] { logger->log(spdlog::level::info, message); })
      .limit("open, write, close", [=, path = folder + "bare.html"] {
        const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        benchmark::DoNotOptimize(write(fd, entry.data(), entry.size()));
        close(fd);
      });
}
