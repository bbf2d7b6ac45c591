#include "qiv/log.h"

#include "support.h"

#include <csignal>
#include <glibmm/error.h>
#include <map>
#include <regex>
#include <sys/resource.h>
#include <thread>

using QivLog::LogObject;
using support::inChild;
using support::readFile;
using support::TempDir;
using support::writeFile;
namespace fs = std::filesystem;

namespace {

constexpr const char* header = "<!DOCTYPE html><html><head><meta charset=\"UTF-8\"><style>\n"
                               ".log-entry { margin:2px 0; font-family: sans-serif; "
                               "font-size:0.9em; }\n"
                               ".log-type { padding:2px 4px; color:#000; width: 70px }\n"
                               ".log-time { margin: 0 5px; color:#555; }\n"
                               ".log-msg { white-space: pre-line; }\n"
                               ".log-info { background:#b3e5fc; }\n"
                               ".log-warn { background:#ffecb3; }\n"
                               ".log-error { background:#ffcdd2; }\n"
                               ".log-default { background:#ffffff; }\n"
                               "</style></head><body>\n";

std::string entry(const std::string& css, const std::string& type, const std::string& message) {
  return "<div class=\"log-entry\"><span class=\"log-type " + css + "\">" + type +
         "</span> <span class=\"log-time\">TIME</span> <span class=\"log-msg\">" + message +
         "</span></div>\n";
}

/// The log with every time stamp replaced by TIME.
std::string withoutTimes(const std::string& log) {
  static const std::regex time(R"(>\d\d:\d\d:\d{4} \d\d:\d\d:\d\d\.\d{3}<)");
  return std::regex_replace(log, time, ">TIME<");
}

int countFiles(const std::string& folder) {
  return static_cast<int>(std::distance(fs::directory_iterator(folder), {}));
}

TEST(Log, WritesThePageByteForByte) {
  const TempDir dir;
  LogObject log(dir / "a/b/");
  log.writeInfo("<a href=\"x\"> & 'y'\nline");
  log.writeWarn("жук");
  log.writeError("");
  log._write("m", "<Type>");
  EXPECT_EQ(
      withoutTimes(readFile(log._getLogPath())),
      header + entry("log-info", "Info", "&lt;a href=&quot;x&quot;&gt; &amp; &apos;y&apos;\nline") +
          entry("log-warn", "Warn", "жук") + entry("log-error", "Error", "") +
          entry("log-default", "<Type>", "m"));
}

TEST(Log, NamesTheFileAfterLocalTime) {
  setenv("TZ", "XXX-5:30", 1);
  const TempDir dir;
  LogObject log(dir / "");
  const std::time_t before = std::time(nullptr) + 19800;
  const std::string path = log._getLogPath();
  std::tm named{};
  ASSERT_NE(strptime(path.c_str(), (dir / "log_%Y%m%d_%H%M%S.html").c_str(), &named), nullptr);
  EXPECT_NEAR(static_cast<double>(timegm(&named)), static_cast<double>(before), 2);
  EXPECT_EQ(log._getLogPath(), path);
  EXPECT_FALSE(fs::exists(path)) << "choosing a name must not make a file";
}

TEST(Log, ContinuesAPageWithoutASecondHeader) {
  const TempDir dir;
  LogObject log(dir / "");
  writeFile(log._getLogPath(), "old\n");
  log.writeInfo("new");
  EXPECT_EQ(withoutTimes(readFile(log._getLogPath())), "old\n" + entry("log-info", "Info", "new"));
}

TEST(Log, StampsMilliseconds) {
  LogObject log("");
  for (int i = 0; i < 200; ++i) {
    const std::string stamp = log._currentTimestamp();
    EXPECT_EQ(withoutTimes(">" + stamp + "<"), ">TIME<") << stamp;
    usleep(1500);
  }
}

TEST(Log, LosesEntriesSilently) {
  const TempDir dir;
  writeFile(dir / "file", "");
  LogObject(dir / "file/").writeInfo("under a file");

  LogObject log(dir / "log/");
  log.writeInfo("a");
  fs::remove_all(dir / "log");
  log.writeInfo("lost");
  EXPECT_FALSE(fs::exists(dir / "log"));
  log.clear();
  log.writeInfo("again");
  EXPECT_EQ(withoutTimes(readFile(log._getLogPath())), header + entry("log-info", "Info", "again"));
}

TEST(Log, GoesOnWhenAFullDiskHasRoomAgain) {
  const TempDir dir;
  signal(SIGXFSZ, SIG_IGN);
  LogObject log(dir / "");
  const rlimit full = {65536, RLIM_INFINITY}, room = {RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &full);
  for (int i = 0; i < 100; ++i)
    log.writeInfo(std::string(1000, 'x'));
  EXPECT_EQ(fs::file_size(log._getLogPath()), 65536U);
  setrlimit(RLIMIT_FSIZE, &room);
  log.writeInfo("room");

  const std::string page = withoutTimes(readFile(log._getLogPath()));
  const std::string whole = entry("log-info", "Info", std::string(1000, 'x'));
  std::size_t end = std::string(header).size();
  while (page.compare(end, whole.size(), whole) == 0)
    end += whole.size();
  EXPECT_GT(end, 50000U);
  const std::string last = entry("log-info", "Info", "room");
  EXPECT_EQ(page.substr(page.size() - last.size()), last);
  EXPECT_LT(page.size() - last.size() - end, whole.size()) << "more than one entry is damaged";
}

/// The message is the writer's number, the entry's number and a filling whose length they decide.
std::string message(int writer, int number) {
  return std::to_string(writer) + " " + std::to_string(number) + " " +
         std::string(static_cast<std::size_t>(number * 7919 + writer) % 20000, 'm');
}

void writeMany(LogObject& log, int writer, int count) {
  for (int number = 0; number < count; ++number)
    log.writeInfo(message(writer, number));
}

TEST(Log, KeepsEntriesOfProcessesAndThreadsWhole) {
  constexpr int writers = 8;
  constexpr int count = 2000;
  const TempDir dir;
  LogObject log(dir / "");
  log.writeInfo("first");
  std::vector<pid_t> children;
  for (int process = 0; process < writers; ++process)
    if (children.push_back(fork()); children.back() == 0) {
      writeMany(log, process, count);
      _exit(0);
    }
  std::vector<std::thread> threads;
  for (int thread = 0; thread < writers; ++thread)
    threads.emplace_back([&log, thread] { writeMany(log, writers + thread, count); });
  for (std::thread& thread : threads)
    thread.join();
  for (const pid_t child : children)
    waitpid(child, nullptr, 0);

  std::ifstream page(log._getLogPath());
  std::map<int, int> next; // a writer's entries keep their order
  for (std::string line; std::getline(page, line);) {
    const std::size_t start = line.find("log-msg\">");
    const std::size_t end = line.find("</span></div>");
    if (start == std::string::npos || end == std::string::npos || line.find("first") != line.npos)
      continue;
    const std::string text = line.substr(start + 9, end - start - 9);
    const int writer = std::stoi(text);
    ASSERT_EQ(text, message(writer, next[writer]++));
    ASSERT_EQ(end + 13, line.size());
  }
  EXPECT_EQ(next.size(), 2U * writers);
  for (const auto& [writer, entries] : next)
    EXPECT_EQ(entries, count) << "writer " << writer;
}

TEST(LogClear, KeepsTheTenNewest) {
  const TempDir dir;
  std::set<std::string> kept = {"log_x.htm", "other.html", "log_html", "log_.htmlx"};
  for (const std::string& name : kept)
    writeFile(dir / name, "");
  for (int age = 0; age < 12; ++age) {
    const std::string name = age == 11 ? "log_.html" : "log_" + std::to_string(age) + ".html";
    writeFile(dir / name, "");
    fs::last_write_time(dir / name, fs::file_time_type::clock::now() - std::chrono::hours(age));
    if (age < 10)
      kept.insert(name);
  }
  testing::internal::CaptureStderr();
  LogObject(dir / "").clear();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  std::set<std::string> left;
  for (const auto& file : fs::directory_iterator(dir.getPath()))
    left.insert(file.path().filename());
  EXPECT_EQ(left, kept);
}

TEST(LogClear, MakesTheFolderAndReportsFailure) {
  const TempDir dir;
  LogObject(dir / "new/log/").clear();
  EXPECT_EQ(countFiles(dir / "new/log"), 0);
  writeFile(dir / "file", "");
  EXPECT_THROW(LogObject(dir / "file/").clear(), Glib::Error);
}

TEST(Log, FrontWritesIntoTheDocuments) {
  const TempDir home;
  fs::create_directory(home / ".config");
  writeFile(home / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Docs\"\n");
  const std::string path = inChild([&] {
    setenv("HOME", home.getPath().c_str(), 1);
    QivLog::Log::writeInfo("i");
    QivLog::Log::writeWarn("w");
    QivLog::Log::writeError("e");
    QivLog::Log::clear();
    return QivLog::Log::getInstance()._getLogPath();
  });
  EXPECT_EQ(path.rfind(home / "Docs/QivCross/log/log_", 0), 0U);
  EXPECT_EQ(withoutTimes(readFile(path)), header + entry("log-info", "Info", "i") +
                                              entry("log-warn", "Warn", "w") +
                                              entry("log-error", "Error", "e"));
}

TEST(Log, LeavesNoDescriptor) {
  const TempDir dir;
  writeFile(dir / "file", "");
  LogObject log(dir / "log/"), lost(dir / "file/");
  const auto use = [&] {
    log.writeInfo("a");
    log.clear();
    lost.writeInfo("b");
  };
  use();
  const long before = support::openDescriptors();
  for (int i = 0; i < 1000; ++i)
    use();
  EXPECT_EQ(support::openDescriptors(), before);
}

} // namespace
