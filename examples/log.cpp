/// Logs a run and shows what the page holds.

#include <chrono>
#include <cstdio>
#include <iostream>
#include <qiv/files.h>
#include <qiv/log.h>

namespace {

/// The page's entries without their times.
void showEntries(const std::string& page) {
  std::ifstream file = Qiv::openInputFileUTF8Name(page, {});
  for (std::string line; std::getline(file, line);)
    if (const std::size_t message = line.find("<span class=\"log-msg\">");
        message != std::string::npos)
      std::cout << line.substr(message) << "\n";
}

} // namespace

int main() {
  using std::chrono::system_clock;
  const system_clock::time_point start = system_clock::from_time_t(1794744876);
  const system_clock::time_point end = start + std::chrono::minutes(75);

  // An application with one log calls QivLog::Log::writeInfo and so on.
  QivLog::LogObject log(Qiv::getQivCrossAppCacheDir() + "log/");
  log.writeInfo("Copied 2,000 files in " +
                Qiv::DateTimeHelper::getDisplayDurationString(start, end, "%02d:%02d:%02d"));
  log.writeWarn("Skipped \"a<b>.txt\"");
  log.writeError("Disk full since " +
                 Qiv::DateTimeHelper::getDisplayTimeString(end, "%d.%m.%Y %H:%M"));
  log.clear(); // keeps the ten newest pages

  const std::string page = log._getLogPath();
  showEntries(page);
  if (QivLog::LogObject::getLostEntries() > 0)
    std::cerr << "the log is not complete\n";
  std::remove(page.c_str()); // only an example
}
