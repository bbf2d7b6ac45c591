#include "qiv/concurrency.h"
#include "support.h"

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
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
    CrossprocessLock("x", tooLong); // taken over at once, or not in time for this test
  }
  RecordProperty("lock holders killed and taken over", kills);
  const std::time_t before = std::time(nullptr);
  writeFile(file, "");
  setAge(119);
  auto overtaken = std::make_unique<CrossprocessLock>("x", 1000);
  EXPECT_GE(std::time(nullptr), before + 2);
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
  const std::tuple<std::string, int, bool> things[] = {{"touch ", -150, true},
                                                       {"ln -s nowhere ", 121, true},
                                                       {"mkfifo ", 121, true},
                                                       {"mkdir ", 121, false}};
  for (const auto& [make, age, held] : things) {
    auto lock = std::make_unique<CrossprocessLock>("other", tooLong); // makes the folder
    EXPECT_EQ(std::system((make + file).c_str()), 0);
    setAge(age);
    lockByOthers();
    lock = std::make_unique<CrossprocessLock>("x", tooLong);
    EXPECT_EQ(lock->isHeld(), held) << make;
    lockByOthers();
    lock.reset();
    EXPECT_EQ(std::filesystem::remove(file), !held) << make;
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
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(CrossprocessLock("x", tooLong, std::chrono::milliseconds(0)).isHeld());
  EXPECT_FALSE(CrossprocessLock("x", tooLong, std::chrono::milliseconds(100)).isHeld());
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
  setAge(121);
  EXPECT_TRUE(CrossprocessLock("x", tooLong, std::chrono::milliseconds(0)).isHeld());
}

// The handler runs when the objects that a first lock may have made are gone. Without standard
// output the next file that is opened becomes it.
TEST_F(CrossprocessLockTest, IsHeldAtExitAndWithoutStreams) {
  inProcesses(1, [](int) {
    close(STDOUT_FILENO);
    std::atexit([] {
      const CrossprocessLock lock("at exit", tooLong);
      EXPECT_TRUE(lock.isHeld());
      EXPECT_EQ(dup(STDOUT_FILENO), -1);
      _exit(HasFailure());
    });
    CrossprocessLock("x", tooLong);
    std::exit(2);
  });
}
