#include "qiv/concurrency.h"
#include "support.h"

#include <csignal>
#include <sys/time.h>

using Qiv::CrossprocessLock;
using namespace support;

/// Locks in a home of their own.
struct CrossprocessLockTest : testing::Test {
  CrossprocessLockTest() { setenv("HOME", home.getPath().c_str(), 1); }

  void setAge(int seconds) const {
    const timeval time{std::time(nullptr) - seconds, 0}, times[] = {time, time};
    utimes(file.c_str(), times);
  }
  static inline const TempDir home; // for which a process asks once
  const std::string file = home / ".cache/QivCross/_Lockers/x.lock";
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
  expectAtMost(0,
               "two holders at once in " + std::to_string(9 * stale) + " stale take-overs by eight",
               readFile(home / "together").size());
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
  EXPECT_TRUE(std::filesystem::exists(file)) << "it is the next holder's";
}

TEST_F(CrossprocessLockTest, LeavesNothingHeldOrNot) {
  for (const char* name : {"x", "no/folder"})
    expectNothingLeft(std::string("locks of ") + name, rounds(1000, 10000),
                      [&] { EXPECT_EQ(CrossprocessLock(name, 1000).isHeld(), *name == 'x'); });
}
