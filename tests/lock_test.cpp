#include "qiv/concurrency.h"
#include "support.h"

#include <csignal>
#include <sys/file.h>
#include <sys/time.h>

using Qiv::CrossprocessLock;
using namespace support;

/// Locks in a home of their own.
struct CrossprocessLockTest : testing::Test {
  CrossprocessLockTest() { setenv("HOME", home.getPath().c_str(), 1); }

  void setAge(int seconds) const {
    const timeval time{std::time(nullptr) - seconds, 0}, times[] = {time, time};
    lutimes(file.c_str(), times);
  }
  static inline const TempDir home; // for which a process asks once
  const std::string folder = home / ".cache/QivCross/_Lockers";
  const std::string file = folder + "/x.lock";
  static constexpr unsigned int tooLong = 1000000000; ///< microseconds, for the time of a test
};

// Of two waiters that find the same stale file, the slower one must not remove the file that the
// faster one has made in its place.
TEST_F(CrossprocessLockTest, HasOneHolderAtATime) {
  const int stale = rounds(30, 225);
  inProcesses(9, [&](int) {
    for (int i = -500; i < stale; ++i) {
      auto lock = std::make_unique<CrossprocessLock>("x", 50);
      if (!std::filesystem::create_directory(home / "held"))
        std::ofstream(home / "together", std::ios::app) << '!';
      usleep(20);
      std::filesystem::remove(home / "held");
      if (i >= -250)
        setAge(121); // may be taken over while it is released
      if (i >= 0)
        lock.release(); // leaves a stale file to eight waiters
    }
    _exit(0); // the locks left are no leaks
  });
  const std::string what = "two holders in " + std::to_string(9 * stale) + " stale take-overs";
  expectAtMost(0, what + " by eight", readFile(home / "together").size());
}

TEST_F(CrossprocessLockTest, OfAKilledHolderIsTakenOverAfter120Seconds) {
  const int kills = rounds(3, 100);
  for (int round = 0; round < kills; ++round) {
    const pid_t holder = fork();
    while (holder == 0)
      CrossprocessLock("x", 1000);
    usleep(1000 + round * 7919 % 5000);
    kill(holder, SIGKILL);
    waitpid(holder, nullptr, 0);
    setAge(121);
    CrossprocessLock("x", tooLong); // taken over at once, or not in time for this test
  }
  RecordProperty("lock holders killed and taken over", kills);
  auto overtaken = std::make_unique<CrossprocessLock>("x", tooLong);
  setAge(121);
  const CrossprocessLock next("x", tooLong);
  overtaken.reset();
  EXPECT_TRUE(std::filesystem::exists(file)) << "it is the next holder's";
}

TEST_F(CrossprocessLockTest, LeavesNothingHeldOrNot) {
  for (const char* name : {"x", "no/folder"})
    expectNothingLeft(std::string("locks of ") + name, rounds(1000, 10000),
                      [&] { EXPECT_EQ(CrossprocessLock(name, 1000).isHeld(), *name == 'x'); });
}

TEST_F(CrossprocessLockTest, IsNotStoppedByWhatLiesInItsPlaceNorByWhoLocksThat) {
  const auto lockByOthers = [&] {
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    flock(open(file.c_str(), O_RDONLY | O_NONBLOCK), LOCK_EX | LOCK_NB);
    fcntl(open(file.c_str(), O_RDWR | O_NONBLOCK), F_OFD_SETLK, &whole);
  };
  CrossprocessLock("other", tooLong); // makes the folder
  const std::pair<std::string, int> things[] = {
      {"touch ", -150}, {"ln -s nowhere ", 121}, {"mkfifo ", 121}};
  for (const auto& [make, age] : things) {
    EXPECT_EQ(std::system((make + file).c_str()), 0);
    setAge(age);
    lockByOthers();
    auto lock = std::make_unique<CrossprocessLock>("x", tooLong);
    EXPECT_TRUE(lock->isHeld()) << make;
    lockByOthers();
    lock.reset();
    EXPECT_FALSE(std::filesystem::remove(file)) << make;
  }
}

TEST_F(CrossprocessLockTest, BearsACleanerOfItsFolder) {
  inProcesses(3, [&](int number) {
    std::error_code error;
    for (int i = 0; i < rounds(5000, 20000); ++i)
      if (number == 0)
        std::filesystem::remove_all(folder, error);
      else
        EXPECT_TRUE(CrossprocessLock("x", 50).isHeld());
  });
}

TEST_F(CrossprocessLockTest, GivesUpAtItsLimit) {
  const CrossprocessLock holder("x", tooLong);
  setAge(115);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(CrossprocessLock("x", tooLong, std::chrono::milliseconds(0)).isHeld());
  EXPECT_FALSE(CrossprocessLock("x", tooLong, std::chrono::milliseconds(100)).isHeld());
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

// The handler runs when the objects that a first lock may have made are gone.
TEST_F(CrossprocessLockTest, IsHeldAtExit) {
  inProcesses(1, [](int) {
    std::atexit([] { _exit(CrossprocessLock("at exit", tooLong).isHeld() ? 0 : 1); });
    CrossprocessLock("x", tooLong);
    std::exit(2);
  });
}
