#include "qiv/log.h"

#include "qiv/errors.h"
#include "qiv/files.h"
#include "support.h"

#include <csignal>
#include <future>
#include <glibmm/error.h>
#include <iomanip>
#include <regex>
#include <sys/resource.h>

using namespace QivLog;
using namespace support;
using namespace std::chrono_literals;
using Time = Qiv::DateTimeHelper;

/// What the first test writes, were it written at that time.
static const std::string page = readFile(LOG_PAGE), anyTime = "15:11:2026 12:14:36.042";

/// Gives the user a documents folder, "Docs".
static void useDocumentsOf(const TempDir& home) {
  setenv("HOME", home.getPath().c_str(), 1);
  std::filesystem::create_directories(home / ".config");
  writeFile(home / ".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/Docs\"\n");
}

TEST(Log, WritesIntoTheDocumentsInLocalTime) {
  static const TempDir home; // for which a process asks once
  useDocumentsOf(home);
  setenv("TZ", "XXX-5:30", 1);
  const std::int64_t start = Time::getTimeNowSniceEpochMs() / 1000;
  Log::writeInfo("<a href=\"x\"> & 'y'\nline");
  Log::writeWarn("жук");
  Log::writeError("");
  Log::getInstance()._write("m", "<Type>");
  const std::string path = Log::getInstance()._getLogPath();
  const std::regex time(R"(\d\d:\d\d:\d{4} \d\d:\d\d:\d\d\.\d{3})");
  EXPECT_EQ(std::regex_replace(readFile(path), time, anyTime), page);
  EXPECT_TRUE(std::regex_match(Log::getInstance()._currentTimestamp(), time));
  const std::string name = home / "Docs/QivCross/log/log_%Y%m%d_%H%M%S.html";
  EXPECT_GE(path, Time::getDisplayTimeString(start, name.c_str()));
  EXPECT_LE(path, Time::getDisplayTimeString(start + 60, name.c_str()));
  std::filesystem::remove_all(home / "Docs");
  Log::writeInfo("lost");
  EXPECT_FALSE(std::filesystem::exists(home / "Docs"));
  Log::clear();
}

/// What a global object's destructor writes comes when all that the process made is gone.
TEST(Log, IsThereUntilTheProcessHasEnded) {
  const TempDir home;
  useDocumentsOf(home);
  const auto run = [] {
    std::atexit([] {
      Log::clear();
      Log::writeError(Qiv::Result(false) ? "" : "at exit");
    });
    Log::writeInfo("in main");
    Qiv::Result(false);
    std::exit(0);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
  EXPECT_EQ(cross::exec(("grep -o 'in main\\|at exit' " + home / "Docs/QivCross/log/*").c_str()),
            "in main\nat exit");
}

/// A page into which writers put numbered entries.
struct SharedLog : testing::Test {
  static std::string message(int writer, int number) {
    const unsigned int most = number % 4 ? 400 : rounds(20400, 65400);
    const std::string dots(80 + number * 7919U % most, '.');
    return std::to_string(writer) + " " + std::to_string(number) + dots;
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
  /// What a command says in the folder of pages.
  std::string in(const std::string& run) { return cross::exec(("cd " + dir / run).c_str()); }
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
  for (const auto& entries : whole)
    lost -= entries.second;
  expectAtMost(0, "lost entries of 8 processes and 8 threads with 2000 each", lost);
  expectAtMost(0, "mixed entries of these", damaged);
}

TEST_F(SharedLog, LosesOneEntryAtMostOfAKilledWriter) {
  for (int round = 0; round < rounds(10, 300); ++round) {
    std::filesystem::remove(path);
    const pid_t writer = fork();
    if (writer == 0)
      write(0, 1000000); // until it is killed
    while (!std::filesystem::exists(path))
      continue;
    usleep(round * 7919 % 10000);
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    expectGoesOn();
    EXPECT_LE(damaged, 1);
    RecordProperty("killed writers that damaged one entry at most", round + 1);
  }
}

TEST_F(SharedLog, LosesOneEntryAtMostOnAFullDisk) {
  signal(SIGXFSZ, SIG_IGN);
  const rlimit full{65536, RLIM_INFINITY}, free{RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &full);
  write(0, 200);
  setrlimit(RLIMIT_FSIZE, &free);
  expectGoesOn();
  EXPECT_GT(whole[0], 1);
  EXPECT_EQ(LogObject::getLostEntries(), 200U - whole[0]);
  expectAtMost(1, "entries damaged by a full disk", damaged);
  EXPECT_EQ(in("; touch made; stat -c %a made log_* | uniq | wc -l"), "1") << "as any new file";
}

TEST_F(SharedLog, KeepsTheTenNewestPagesWhoeverPrunes) {
  for (int round = 0; round < rounds(8, 200); ++round) {
    in("; touch -d '2 hours ago' $(seq -f log_%g.html 10 49)"
       "; touch -d '1 hour ago' log_.html $(seq -f log_9%g.html 3 9); touch -d @1 log_.htm "
       "logs.html");
    inProcesses(3, [&](int) { log.clear(); });
    EXPECT_EQ(in("; echo log_[0-8]*"), "log_48.html log_49.html");
    EXPECT_EQ(in("; ls log_.html log_9* log_.htm logs.html | wc -l"), "10");
  }
  in("; mkdir -p log_0.html/sub; touch -d @1 log_0.html");
  EXPECT_THROW(log.clear(), Glib::Error) << "a page that cannot be deleted";
}

TEST_F(SharedLog, LeavesNothingOpen) {
  LogObject broken(dir / "file/");
  writeFile(dir / "file", "");
  expectNothingLeft("log entries and prunings, half of them failing", rounds(1000, 10000), [&] {
    log.writeInfo("x");
    broken.writeInfo("x");
    log.clear();
    EXPECT_THROW(broken.clear(), Glib::Error);
  });
}

TEST(DateTimeHelper, WritesTimesAndDurations) {
  const std::string format = "%c|%Z %z|%-d %%%" + std::string(65536, '.');
  for (const char* zone : {"UTC0", "<+0545>-5:45", "Europe/Berlin"})
    for (const std::time_t seconds : std::initializer_list<std::time_t>{
             1, -1, 1700000000, -62135596801, std::time_t{1} << 55}) {
      std::ostringstream expected;
      setenv("TZ", zone, 1);
      const std::string text = Time::getDisplayTimeString(seconds, format.c_str());
      expected << std::put_time(std::localtime(&seconds), format.c_str());
      EXPECT_EQ(text, expected.str());
    }
  const std::chrono::system_clock::time_point epoch, first(999999999ns);
  EXPECT_EQ(Time::getDisplayTimeString(epoch, "%s"), "");
  EXPECT_EQ(Time::getDisplayTimeString(first, "%s"), "");
  EXPECT_EQ(Time::getDisplayTimeString(first + 1ns, "%s"), "1");
  EXPECT_EQ(Time::getDisplayDurationString(first, first, "%d"), "");
  EXPECT_THROW(Time::getDisplayTimeString(INT64_MAX, "%s"), std::out_of_range);
  EXPECT_EQ(Time::getDisplayDurationString(epoch - 1s, epoch + 90060s, "%d:%02d:%d"), "25:01:1");
}
