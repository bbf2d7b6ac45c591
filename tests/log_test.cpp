#include "qiv/log.h"

#include "support.h"

#include <climits>
#include <future>
#include <glibmm/error.h>
#include <iomanip>
#include <regex>
#include <set>
#include <sys/resource.h>

using namespace QivLog;
using namespace support;
using Qiv::DateTimeHelper;
using Clock = std::chrono::system_clock;

static const std::string header = R"(<!DOCTYPE html><html><head><meta charset="UTF-8"><style>
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

static std::string entry(const std::string& message, const std::string& type = "Info",
                         const std::string& css = "log-info") {
  return R"(<div class="log-entry"><span class="log-type )" + css + R"(">)" + type +
         R"(</span> <span class="log-time">TIME</span> <span class="log-msg">)" + message +
         "</span></div>\n";
}

static std::string page(const std::string& path) {
  static const std::regex time(R"(>\d\d:\d\d:\d{4} \d\d:\d\d:\d\d\.\d{3}<)");
  return std::regex_replace(readFile(path), time, ">TIME<");
}

TEST(Log, WritesIntoTheDocuments) {
  const TempDir home;
  std::filesystem::create_directory(home / ".config");
  writeFile(home / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Docs\"\n");
  setenv("HOME", home.getPath().c_str(), 1);
  Log::writeInfo("<a href=\"x\"> & 'y'\nline");
  Log::writeWarn("жук");
  Log::writeError("");
  Log::getInstance()._write("m", "<Type>");
  const std::string path = Log::getInstance()._getLogPath();
  EXPECT_EQ(path.rfind(home / "Docs/QivCross/log/log_", 0), 0U);
  EXPECT_EQ(page(path), header + entry("&lt;a href=&quot;x&quot;&gt; &amp; &apos;y&apos;\nline") +
                            entry("жук", "Warn", "log-warn") + entry("", "Error", "log-error") +
                            entry("m", "<Type>", "log-default"));
  std::filesystem::remove_all(home / "Docs");
  Log::writeInfo("lost");
  EXPECT_FALSE(std::filesystem::exists(home / "Docs"));
  Log::clear();
  Log::writeInfo("again");
  EXPECT_EQ(page(path), header + entry("again"));
  expectNoDescriptorLeft(1000, [] {
    Log::writeInfo("");
    Log::clear();
  });
}

static long now() {
  const auto time = Clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
}

TEST(Log, TellsLocalTime) {
  const TempDir dir;
  for (const char* zone : {"XXX-5:30", "YYY8"}) {
    setenv("TZ", zone, 1);
    tzset();
    LogObject log(dir / "");
    std::tm local{};
    for (long fraction = 999; fraction > 9; usleep(1000)) { // until one was padded
      const long before = now(), told = DateTimeHelper::getTimeNowSniceEpochMs();
      const std::string stamp = log._currentTimestamp();
      const long after = now();
      const char* const rest = strptime(stamp.c_str(), "%d:%m:%Y %H:%M:%S", &local);
      ASSERT_TRUE(rest && std::regex_match(rest, std::regex("\\.\\d{3}"))) << stamp;
      fraction = std::stol(rest + 1);
      const long time = std::mktime(&local) * 1000 + fraction;
      ASSERT_TRUE(before <= told && told <= time && time <= after) << stamp;
    }
    const std::string path = log._getLogPath();
    EXPECT_STREQ(strptime(path.c_str(), (dir / "log_%Y%m%d_%H%M%S.html").c_str(), &local), "");
    EXPECT_NEAR(std::mktime(&local), std::time(nullptr), 9) << path;
  }
}

TEST(Log, GoesOnWhenAFullDiskHasRoomAgain) {
  const TempDir dir;
  LogObject log(dir / "");
  writeFile(log._getLogPath(), "no header follows\n");
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit = {65536, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &limit);
  const std::string message(30000, 'x'), whole = entry(message);
  for (int i = 0; i < 9; ++i)
    log.writeInfo(message);
  limit.rlim_cur = RLIM_INFINITY;
  setrlimit(RLIMIT_FSIZE, &limit);
  log.writeInfo("room");
  const std::string text = page(log._getLogPath()), before = "no header follows\n" + whole + whole;
  EXPECT_EQ(text, before + whole.substr(0, 65536 - 3 * 19 - before.size()) + entry("room"));
}

TEST(Log, KeepsEntriesOfProcessesAndThreadsWhole) {
  constexpr int writers = 8, count = 2000;
  const TempDir dir;
  LogObject log(dir / "");
  log._getLogPath();
  const auto message = [](int writer, int number) { // the letter tells the writer
    return std::string(1 + number * 7919UL % 20000, static_cast<char>('a' + writer));
  };
  const auto write = [&](int writer) {
    for (int number = 0; number < count; ++number)
      log.writeInfo(message(writer, number));
  };
  for (int process = 0; process < writers; ++process)
    if (fork() == 0) {
      write(process);
      _exit(0);
    }
  std::vector<std::future<void>> threads;
  for (int thread = 0; thread < writers; ++thread)
    threads.push_back(std::async(std::launch::async, write, writers + thread));
  threads.clear();
  while (wait(nullptr) > 0)
    continue;

  std::ifstream file(log._getLogPath());
  std::vector<int> next(2 * writers); // a writer's entries keep their order
  for (std::string line; std::getline(file, line);) {
    std::size_t start = 0; // several writers may find the page empty
    for (; header.compare(start, line.size() + 1, line + '\n') == 0; std::getline(file, line))
      start += line.size() + 1;
    ASSERT_TRUE(start == 0 || start == header.size()) << "a header in pieces: " << line;
    line.replace(entry("").find("TIME"), 23, "TIME");
    const int writer = line.at(entry("").find("</span></div>")) - 'a';
    ASSERT_EQ(line + '\n', entry(message(writer, next.at(writer)++)));
  }
  EXPECT_EQ(next, std::vector<int>(2 * writers, count));
  const auto writes = [] {
    const std::string counts = readFile("/proc/self/io");
    return std::stol(counts.substr(counts.find("syscw:") + 6));
  };
  std::filesystem::remove(log._getLogPath());
  const long before = writes();
  write(0);
  EXPECT_EQ(writes() - before, count) << "a header goes with its entry";
}

TEST(LogClear, KeepsTheTenNewest) {
  const TempDir dir;
  std::set<std::string> kept = {"log_x.htm", "other.html", "log_html", "log_.htmlx"}, left;
  for (const std::string& name : kept)
    writeFile(dir / name, "");
  for (int age = 0; age < 12; ++age) {
    const std::string name = age == 11 ? "log_.html" : "log_" + std::to_string(age) + ".html";
    writeFile(dir / name, "");
    std::filesystem::last_write_time(dir / name, std::filesystem::file_time_type::clock::now() -
                                                     std::chrono::hours(age));
    if (age < 10)
      kept.insert(name);
  }
  testing::internal::CaptureStderr();
  LogObject(dir / "").clear();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "GIO works without the caller's help";
  for (const auto& file : std::filesystem::directory_iterator(dir.getPath()))
    left.insert(file.path().filename());
  EXPECT_EQ(left, kept);
  LogObject broken(dir / "other.html/");
  broken.writeInfo("lost");
  EXPECT_THROW(broken.clear(), Glib::Error);
}

static Clock::time_point at(long nanoseconds) {
  return Clock::time_point(std::chrono::nanoseconds(nanoseconds));
}

TEST(DateTimeHelper, WritesWhatPutTimeWrites) {
  const std::string format = "%c|%x %X|%Z %z|%-d %%%" + std::string(65536, '.');
  if (setlocale(LC_ALL, "ru_RU.UTF-8")) // installed
    std::locale::global(std::locale("ru_RU.UTF-8"));
  for (const char* zone : {"UTC0", "<+0545>-5:45", "Europe/Berlin"})
    for (const long seconds : {1L, -1L, 1700000000L, -62135596801L, 1L << 55}) {
      setenv("TZ", zone, 1);
      const std::string text = DateTimeHelper::getDisplayTimeString(seconds, format.c_str());
      std::ostringstream expected;
      expected << std::put_time(std::localtime(&seconds), format.c_str());
      EXPECT_EQ(text, expected.str());
    }
  EXPECT_EQ(DateTimeHelper::getDisplayTimeString(at(1999999999), "%s"), "1");
  EXPECT_EQ(DateTimeHelper::getDisplayTimeString(0, nullptr), "");
  for (const long nanoseconds : {LONG_MIN, -1L, 0L, 999999999L})
    EXPECT_EQ(DateTimeHelper::getDisplayTimeString(at(nanoseconds), nullptr), "");
  EXPECT_THROW(DateTimeHelper::getDisplayTimeString(1, nullptr), std::logic_error);
  EXPECT_THROW(DateTimeHelper::getDisplayTimeString(LONG_MAX, "%Y"), std::out_of_range);
}

TEST(DateTimeHelper, WritesDurations) {
  const std::tuple<long, long, const char*, const char*> rows[] = {
      {5, 5, nullptr, ""},
      {5, 6, "%d %d %d", "0 0 0"},
      {0, 59999999999, "%02d:%02d:%02d", "00:00:59"},
      {-1000000000, 90060000000000, "%02d:%02d:%02d", "25:01:01"},
      {LONG_MIN, LONG_MAX, "%02d:%02d:%02d", "5124095:34:33"}};
  for (const auto& [start, end, format, expected] : rows)
    EXPECT_EQ(DateTimeHelper::getDisplayDurationString(at(start), at(end), format), expected);
  EXPECT_THROW(DateTimeHelper::getDisplayDurationString(at(5), at(6), nullptr), std::logic_error);
}
