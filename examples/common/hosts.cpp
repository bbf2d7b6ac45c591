#include "hosts.h"

#include "texts.h"

#include <chrono>
#include <glibmm/miscutils.h>
#include <qiv/concurrency.h>
#include <qiv/files.h>
#include <qiv/text.h>

namespace {

constexpr unsigned int keptHosts = 10;
constexpr unsigned int lockRetryMicroseconds = 1000;
constexpr std::chrono::milliseconds lockLimit(200); // a window waits meanwhile

std::string getPath() {
  return Qiv::getQivCrossAppCacheDir() + "netreport.hosts";
}

Qiv::RecentCollection readHosts() {
  Qiv::RecentCollection hosts(keptHosts);
  std::string line;
  std::getline(Qiv::openInputFileUTF8Name(getPath(), {}), line);
  hosts.deserialize(line);
  return hosts;
}

} // namespace

bool isHost(const std::string& text) {
  static constexpr const char* allowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.:%_-";
  return !text.empty() && text[0] != '-' && text.find_first_not_of(allowed) == std::string::npos;
}

Qiv::Result getPingResult(const std::string& host, bool answered) {
  using Qiv::LogicError;
  const std::string failure = texts::ping(host, false);
  if (answered)
    return true;
  if (!isHost(host))
    return LogicError::create(failure, LogicError::create(texts::noHost()));
  if (Glib::find_program_in_path("ping").empty())
    return LogicError::create(failure, LogicError::create(texts::noPingTool()));
  return LogicError::create(failure);
}

std::vector<std::string> loadHosts() {
  return readHosts().getCollection();
}

std::vector<std::string> rememberHost(const std::string& host) {
  const Qiv::CrossprocessLock lock("netreport.hosts", lockRetryMicroseconds, lockLimit);
  Qiv::RecentCollection hosts = readHosts();
  hosts.tryAdd(host);
  if (lock.isHeld()) // so the folder is there, too
    Qiv::openOutputFileUTF8Name(getPath(), std::ios::trunc) << hosts.serialize() << "\n";
  return hosts.getCollection();
}
