// The HTML log.

#include "bench.h"

#include <fcntl.h>
#include <fstream>
#include <memory>
#include <qiv/log.h>
#include <spdlog/details/file_helper.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// As the log does, it has the file open only while an entry is written.
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

/// The last entry of a page.
std::string entryOf(const std::string& page) {
  std::ostringstream text;
  text << std::ifstream(page).rdbuf();
  return text.str().substr(text.str().rfind("<div"));
}

} // namespace

void bench::addLog() {
  const std::string folder = scratchFolder() + "log/";
  const std::string message =
      "Connected to the device at 192.168.0.10, port 502, after 3 attempts; "
      "firmware 2.14.7, serial 0041207";
  const auto log = std::make_shared<QivLog::LogObject>(folder);
  log->writeInfo(message);
  const std::string entry = entryOf(log->_getLogPath());

  const auto logger =
      std::make_shared<spdlog::logger>("", std::make_shared<ReopeningSink>(folder + "spdlog.html"));
  logger->set_pattern(R"(<div class="log-entry"><span class="log-type log-info">Info</span> )"
                      R"(<span class="log-time">%d:%m:%Y %H:%M:%S.%e</span> )"
                      R"(<span class="log-msg">%v</span></div>)");

  bench::Row("log entry of 100 B", 0.6, [=] {
    log->writeInfo(message);
  }).peer("spdlog, reopening", [=] {
      logger->log(spdlog::level::info, message);
    }).limit("open, fstat, write, close", [=, path = folder + "bare.html"] {
    const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    struct stat status;
    benchmark::DoNotOptimize(fstat(fd, &status));
    benchmark::DoNotOptimize(write(fd, entry.data(), entry.size()));
    close(fd);
  });
}
