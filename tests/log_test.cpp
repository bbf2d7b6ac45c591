#include "qiv/log.h"

#include "support.h"

#include <csignal>
#include <glibmm/error.h>
#include <map>
#include <regex>
#include <set>
#include <sys/resource.h>
#include <thread>

using QivLog::LogObject;
using support::inChild;
using support::readFile;
using support::TempDir;
using support::writeFile;
namespace fs = std::filesystem;

namespace {

const std::string header = R"(<!DOCTYPE html><html><head><meta charset="UTF-8"><style>
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

std::string entry(const std::string& css, const std::string& type, const std::string& message) {
  return "<div class=\"log-entry\"><span class=\"log-type " + css + "\">" + type +
         "</span> <span class=\"log-time\">TIME</span> <span class=\"log-msg\">" + message +
         "</span></div>\n";
}

std::string info(const std::string& message) {
  return entry("log-info", "Info", message);
}

/// The page with every time stamp replaced by TIME.
std::string page(const std::string& path) {
  static const std::regex time(R"(>\d\d:\d\d:\d{4} \d\d:\d\d:\d\d\.\d{3}<)");
  return std::regex_replace(readFile(path), time, ">TIME<");
}

TEST(Log, WritesThePageByteForByte) {
  const TempDir dir;
  LogObject log(dir / "a/b/");
  log.writeInfo("<a href=\"x\"> & 'y'\nline");
  log.writeWarn("жук");
  log.writeError("");
  log._write("m", "<Type>");
  EXPECT_EQ(page(log._getLogPath()),
            header + info("&lt;a href=&quot;x&quot;&gt; &amp; &apos;y&apos;\nline") +
                entry("log-warn", "Warn", "жук") + entry("log-error", "Error", "") +
                entry("log-default", "<Type>", "m"));
}

TEST(Log, NamesTheFileAfterLocalTime) {
  setenv("TZ", "XXX-5:30", 1);
  const TempDir dir;
  LogObject log(dir / "");
  const std::string path = log._getLogPath();
  std::tm named{};
  ASSERT_NE(strptime(path.c_str(), (dir / "log_%Y%m%d_%H%M%S.html").c_str(), &named), nullptr);
  EXPECT_NEAR(static_cast<double>(timegm(&named) - 19800), static_cast<double>(time(nullptr)), 2);
  writeFile(path, "old\n");
  log.writeInfo("new");
  EXPECT_EQ(page(path), "old\n" + info("new")) << "a page that goes on has no second header";
}

TEST(Log, PadsMilliseconds) {
  const TempDir dir;
  LogObject log(dir / "");
  for (int i = 0; i < 200; ++i, usleep(1500))
    log.writeInfo("");
  std::string expected = header;
  for (int i = 0; i < 200; ++i)
    expected += info("");
  EXPECT_EQ(page(log._getLogPath()), expected);
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
  EXPECT_EQ(page(log._getLogPath()), header + info("again"));
}

TEST(Log, GoesOnWhenAFullDiskHasRoomAgain) {
  const TempDir dir;
  signal(SIGXFSZ, SIG_IGN);
  const rlimit full = {65536, RLIM_INFINITY}, room = {RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &full);
  LogObject log(dir / "");
  for (int i = 0; i < 100; ++i)
    log.writeInfo(std::string(1000, 'x'));
  EXPECT_EQ(fs::file_size(log._getLogPath()), 65536U);
  setrlimit(RLIMIT_FSIZE, &room);
  log.writeInfo("room");

  const std::string text = page(log._getLogPath());
  const std::string whole = info(std::string(1000, 'x')), last = info("room");
  std::size_t end = header.size();
  while (text.compare(end, whole.size(), whole) == 0)
    end += whole.size();
  EXPECT_GT(end, 50000U);
  EXPECT_LT(text.size() - last.size() - end, whole.size()) << "more than one entry is damaged";
  EXPECT_EQ(text.substr(text.size() - last.size()), last);
}

/// The writer's number, the entry's number and a filling whose length they decide.
std::string message(int writer, int number) {
  return std::to_string(writer) + " " + std::to_string(number) + " " +
         std::string(static_cast<std::size_t>(number * 7919 + writer) % 20000, 'm');
}

void writeMany(LogObject& log, int writer, int count) {
  for (int number = 0; number < count; ++number)
    log.writeInfo(message(writer, number));
}

TEST(Log, KeepsEntriesOfProcessesAndThreadsWhole) {
  constexpr int writers = 8, count = 2000;
  const TempDir dir;
  LogObject log(dir / "");
  writeFile(log._getLogPath(), "first\n");
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

  std::ifstream file(log._getLogPath());
  const std::string tail = "</span></div>";
  const std::size_t start =
      info("").size() - tail.size() - 1 + std::string("15:11:2026 12:14:36.042").size() - 4;
  std::map<int, int> next; // a writer's entries keep their order
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    ASSERT_GT(line.size(), start);
    const int writer = std::stoi(line.substr(start));
    ASSERT_EQ(line.substr(start), message(writer, next[writer]++) + tail);
  }
  for (int writer = 0; writer < 2 * writers; ++writer)
    EXPECT_EQ(next[writer], count) << "writer " << writer;
}

TEST(LogClear, KeepsTheTenNewest) {
  const TempDir dir;
  std::set<std::string> kept = {"log_x.htm", "other.html", "log_html", "log_.htmlx"}, left;
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
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "GIO works without the caller's help";
  for (const auto& file : fs::directory_iterator(dir.getPath()))
    left.insert(file.path().filename());
  EXPECT_EQ(left, kept);
}

TEST(LogClear, ReportsFailure) {
  const TempDir dir;
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
  EXPECT_EQ(page(path),
            header + info("i") + entry("log-warn", "Warn", "w") + entry("log-error", "Error", "e"));
}

TEST(Log, LeavesNoDescriptor) {
  const TempDir dir;
  writeFile(dir / "file", "");
  LogObject log(dir / "log/"), lost(dir / "file/");
  support::expectNoDescriptorLeft(1000, [&] {
    log.writeInfo("a");
    log.clear();
    lost.writeInfo("b");
  });
}

} // namespace
