#include "qiv/log.h"

#include "qiv/files.h"
#include "qiv/text.h"
#include "support.h"

#include <climits>
#include <csignal>
#include <future>
#include <glibmm/error.h>
#include <iomanip>
#include <regex>
#include <sys/resource.h>

using namespace QivLog;
using namespace support;
using Qiv::DateTimeHelper;

/// What the first test writes, were it written at that time.
static const std::string page = readFile(LOG_PAGE), anyTime = "15:11:2026 12:14:36.042";

TEST(Log, WritesIntoTheDocuments) {
  static const TempDir home; // for which a process asks once
  setenv("HOME", home.getPath().c_str(), 1);
  std::filesystem::create_directories(home / ".config");
  writeFile(home / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Docs\"\n");
  Log::writeInfo("<a href=\"x\"> & 'y'\nline");
  Log::writeWarn("жук");
  Log::writeError("");
  Log::getInstance()._write("m", "<Type>");
  const std::string path = Log::getInstance()._getLogPath();
  const std::regex time(R"(\d\d:\d\d:\d{4} \d\d:\d\d:\d\d\.\d{3})");
  EXPECT_EQ(std::regex_replace(readFile(path), time, anyTime), page);
  EXPECT_EQ(path.rfind(home / "Docs/QivCross/log/log_", 0), 0U);
  std::filesystem::remove_all(home / "Docs");
  const auto write = [] { Log::writeInfo("x"); };
  expectNothingLeft("log entries that are lost", rounds(1000, 10000), write);
  EXPECT_FALSE(std::filesystem::exists(home / "Docs"));
  Log::clear();
  writeFile(path, "no header follows\n");
  expectNothingLeft("log entries", rounds(1000, 10000), write);
  EXPECT_EQ(readFile(path).rfind("no header follows\n<div", 0), 0U);
  std::filesystem::remove(path);
}

TEST(Log, TellsLocalTime) {
  setenv("TZ", "XXX-5:30", 1);
  tzset();
  const TempDir dir;
  LogObject log(dir / "");
  const auto now = DateTimeHelper::getTimeNowSniceEpochMs;
  const auto display = [](long milliseconds, const std::string& format) {
    const auto text = DateTimeHelper::getDisplayTimeString(milliseconds / 1000, format.c_str());
    return Qiv::StringHelper::formatC(text.c_str(), static_cast<int>(milliseconds % 1000), 0, 0);
  };
  const std::string format = dir / "log_%Y%m%d_%H%M%S.html", before = display(now(), format);
  EXPECT_TRUE(log._getLogPath() == before || log._getLogPath() == display(now(), format));
  for (long time = 999; time % 1000 > 9; usleep(1000)) { // until the milliseconds were padded
    time = now();
    const std::string stamp = log._currentTimestamp();
    for (const long last = now(); stamp != display(time, "%d:%m:%Y %H:%M:%S.%%03d"); ++time)
      ASSERT_LT(time, last);
  }
  EXPECT_NEAR(now(), std::time(nullptr) * 1000, 2000);
}

/// A page into which writers put numbered entries.
struct SharedLog : testing::Test {
  static std::string message(int writer, int number) {
    const long longest = number % 4 ? 400 : rounds(20400, 65400);
    return std::to_string(writer) + " " + std::to_string(number) +
           std::string(80 + number * 7919L % longest, '.');
  }
  void write(int writer, int count) {
    for (int number = 0; number < count; ++number)
      log.writeInfo(message(writer, number));
  }
  /// Counts each writer's entries that are whole and in order. Any other line is damaged.
  void readPage() {
    const auto begin = page.find("<div"), end = page.find("&lt;");
    const std::string header = page.substr(0, begin), entry = page.substr(begin, end - begin);
    std::ifstream file(path);
    whole.clear();
    damaged = 0;
    for (std::string line; std::getline(file, line);) {
      if (header.find(line + '\n') != std::string::npos)
        continue;
      line.resize(std::max(line.size(), entry.size()));
      line.replace(entry.find(anyTime), anyTime.size(), anyTime);
      const int writer = std::atoi(&line[entry.size()]);
      const std::string expected = entry + message(writer, whole[writer]) + "</span></div>";
      ++(line == expected ? whole[writer] : damaged);
    }
  }
  void expectGoesOn() {
    write(1, 1); // perhaps behind a piece of an entry
    write(2, 1);
    readPage();
    EXPECT_EQ(whole[2], 1);
  }

  const TempDir dir;
  LogObject log{dir / ""};
  const std::string path = log._getLogPath();
  std::map<int, int> whole;
  int damaged = 0;
};

TEST_F(SharedLog, KeepsEntriesOfProcessesAndThreadsWhole) {
  constexpr int writers = 16, count = 2000;
  inProcesses(9, [&](int process) { // of which the last has eight threads
    std::vector<std::future<void>> threads;
    for (int writer = process; writer < (process < 8 ? process + 1 : writers); ++writer)
      threads.push_back(std::async(std::launch::async, [=] { write(writer, count); }));
  });
  readPage();
  int lost = writers * count;
  for (int writer = 0; writer < writers; ++writer)
    lost -= whole[writer];
  expectAtMost(0, "lost entries of 8 processes and 8 threads with 2000 each", lost);
  expectAtMost(0, "mixed entries of these", damaged);
  const auto writes = [] {
    const std::string counts = readFile("/proc/self/io");
    return std::stol(counts.substr(counts.find("syscw:") + 6));
  };
  std::filesystem::remove(path);
  const long before = writes();
  write(0, count);
  EXPECT_EQ(writes() - before, count) << "a header goes with its entry";
}

TEST_F(SharedLog, LosesOneEntryAtMostOfAKilledWriter) {
  const int kills = rounds(10, 300);
  int cut = 0, earlier = 0;
  for (int round = 0; round < kills; ++round) {
    std::filesystem::remove(path);
    const pid_t writer = fork();
    if (writer == 0)
      write(0, INT_MAX);
    while (!std::filesystem::exists(path))
      continue;
    usleep(round * 7919 % 10000);
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    expectGoesOn();
    cut += std::min(damaged, 1);
    earlier += std::max(damaged - 1, 0);
  }
  expectAtMost(kills, "last entries cut by " + std::to_string(kills) + " kills", cut);
  expectAtMost(0, "earlier entries damaged by these", earlier);
}

TEST_F(SharedLog, LosesOneEntryAtMostOnAFullDisk) {
  signal(SIGXFSZ, SIG_IGN);
  const rlimit full{65536, RLIM_INFINITY}, free{RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &full);
  write(0, 200);
  setrlimit(RLIMIT_FSIZE, &free);
  expectGoesOn();
  EXPECT_TRUE(whole[0] > 1 && whole[0] < 200);
  expectAtMost(1, "entries damaged by a full disk", damaged);
}

TEST(LogClear, KeepsTheTenNewest) {
  const TempDir dir;
  const auto in = [&](const std::string& run) { return cross::exec(("cd " + dir / run).c_str()); };
  const std::string others = " log_.htmlx log_html log_x.htm logs.html ";
  in("; touch -d '11 days ago' log_.html; touch" + others +
     "; for i in 0 1 2 3 4 5 6 7 8 9 10; do touch -d \"$i days ago\" log_$i.html; done");
  LogObject log(dir / "");
  expectNothingLeft("prunings of the log", rounds(1000, 10000), [&] { log.clear(); });
  EXPECT_EQ(in("; rm" + others + "&& ls | cut -c5 | tr -d '\n'"), "0123456789");
  LogObject broken(dir / "log_0.html/");
  expectNothingLeft("log entries and prunings that fail", rounds(1000, 10000), [&] {
    broken.writeInfo("lost");
    EXPECT_THROW(broken.clear(), Glib::Error);
  });
}

TEST(DateTimeHelper, WritesWhatPutTimeWrites) {
  const std::string format = "%c|%x %X|%Z %z|%-d %%%" + std::string(65536, '.');
  const bool installed = setlocale(LC_ALL, "ru_RU.UTF-8");
  const std::locale old = std::locale::global(std::locale(installed ? "ru_RU.UTF-8" : "C"));
  for (const char* zone : {"UTC0", "<+0545>-5:45", "Europe/Berlin"})
    for (const long seconds : {1L, -1L, 1700000000L, -62135596801L, 1L << 55}) {
      setenv("TZ", zone, 1);
      const std::string text = DateTimeHelper::getDisplayTimeString(seconds, format.c_str());
      std::ostringstream expected;
      expected << std::put_time(std::localtime(&seconds), format.c_str());
      EXPECT_EQ(text, expected.str());
    }
  std::locale::global(old);
}

TEST(DateTimeHelper, WritesTimePointsAndDurations) {
  using Time = DateTimeHelper;
  const auto at = [](long nanoseconds) {
    return std::chrono::system_clock::time_point(std::chrono::nanoseconds(nanoseconds));
  };
  for (const long nanoseconds : {LONG_MIN, -1L, 0L, 999999999L})
    EXPECT_EQ(Time::getDisplayTimeString(at(nanoseconds), nullptr), "");
  EXPECT_EQ(Time::getDisplayTimeString(at(1999999999), "%s"), "1");
  EXPECT_THROW(Time::getDisplayTimeString(1, nullptr), std::logic_error);
  EXPECT_THROW(Time::getDisplayTimeString(LONG_MAX, "%Y"), std::out_of_range);
  EXPECT_EQ(Time::getDisplayDurationString(at(5), at(5), nullptr), "");
  EXPECT_THROW(Time::getDisplayDurationString(at(5), at(6), nullptr), std::logic_error);
  const std::tuple<long, long, const char*> rows[] = {{5, 6, "00:00:00"},
                                                      {0, 59999999999, "00:00:59"},
                                                      {-1000000000, 90060000000000, "25:01:01"},
                                                      {LONG_MIN, LONG_MAX, "5124095:34:33"}};
  for (const auto& [start, end, text] : rows)
    EXPECT_EQ(Time::getDisplayDurationString(at(start), at(end), "%02d:%02d:%02d"), text);
}
