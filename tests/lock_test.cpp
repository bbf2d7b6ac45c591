#include "qiv/concurrency.h"
#include "qiv/files.h"
#include "support.h"

#include <csignal>
#include <sys/resource.h>

using Qiv::CrossprocessLock;
using namespace support;
namespace fs = std::filesystem;

/// Locks in a home of their own.
struct CrossprocessLockTest : testing::Test {
  CrossprocessLockTest() { setenv("HOME", home.getPath().c_str(), 1); }

  void setAge(int seconds) const {
    std::error_code missing;
    const auto now = fs::file_time_type::clock::now();
    fs::last_write_time(file, now - std::chrono::seconds(seconds), missing);
  }

  static inline const TempDir home; // for which a process asks once
  const std::string folder = home / ".cache/QivCross/_Lockers/", file = folder + "x.lock";
};

// Of two waiters that find the same stale file, the slower one must not remove the file that the
// faster one has made in its place.
TEST_F(CrossprocessLockTest, HasOneHolderAtATime) {
  const int stale = rounds(30, 225);
  const std::string held = home / "held";
  inProcesses(9, [&](int) {
    for (int i = -500; i < stale; ++i) {
      auto lock = std::make_unique<CrossprocessLock>("x", 50);
      if (mkdir(held.c_str(), 0700) != 0)
        std::ofstream(home / "together", std::ios::app) << '!';
      usleep(20);
      rmdir(held.c_str());
      if (i >= -250)
        setAge(121); // may be taken over while it is released
      if (i >= 0)
        lock.release(); // leaves a stale file to eight waiters
    }
  });
  const std::string takeOvers = std::to_string(9 * stale) + " stale take-overs by eight waiters";
  expectAtMost(0, "two holders at once in " + takeOvers, readFile(home / "together").size());
}

TEST_F(CrossprocessLockTest, OfAKilledHolderIsTakenOverAfter120SecondsAndNotBefore) {
  const int kills = rounds(3, 100);
  for (int round = 0; round < kills; ++round) {
    const pid_t holder = fork();
    while (holder == 0)
      CrossprocessLock("x", 1000);
    usleep(1000 + round * 7919 % 5000);
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    setAge(121);
    CrossprocessLock("x", 1000000000); // taken over at once, or not in time for this test
  }
  RecordProperty("lock holders killed and taken over", kills);
  const std::time_t before = std::time(nullptr);
  writeFile(file, "");
  setAge(119);
  auto overtaken = std::make_unique<CrossprocessLock>("x", 1000);
  EXPECT_GE(std::time(nullptr), before + 2);
  setAge(121);
  const CrossprocessLock next("x", 1000000000);
  overtaken.reset();
  EXPECT_TRUE(fs::exists(file)) << "it is the next holder's";
  EXPECT_EQ(cross::exec("ls -l /proc/self/fd").find(folder), std::string::npos) << "inherited";
}

TEST_F(CrossprocessLockTest, RemovesItsOwnFileOnlyAndNeedsNoDescriptorForThat) {
  expectNothingLeft("locks, held and not", rounds(1000, 10000), [] {
    EXPECT_TRUE(CrossprocessLock("x", 1000).isHeld());
    EXPECT_FALSE(CrossprocessLock(std::string("x\0y", 3), 1000).isHeld());
  });
  inProcesses(1, [file = file](int) {
    const CrossprocessLock holder("x", 1000);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    if (!CrossprocessLock("x", 1000).isHeld())
      fs::create_hard_link(file, file + ".left");
  });
  EXPECT_TRUE(fs::remove(file + ".left") && !fs::exists(file));
}
