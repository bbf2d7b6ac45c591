#include "qiv/concurrency.h"
#include "qiv/files.h"
#include "support.h"

#include <csignal>
#include <sys/resource.h>
#include <utime.h>

namespace {

using Qiv::CrossprocessLock;

/// Locks in a home of their own.
struct CrossprocessLockTest : testing::Test {
  CrossprocessLockTest() { setenv("HOME", home.getPath().c_str(), 1); }

  std::time_t setAge(int seconds) const {
    const utimbuf times{0, std::time(nullptr) - seconds};
    utime(file.c_str(), &times);
    return times.modtime;
  }
  /// Runs `body` in `count` processes. Meanwhile the lock's file gets `age`.
  void inProcesses(int count, const std::function<void()>& body, int age = 0) const {
    while (count-- > 0)
      if (fork() == 0) {
        alarm(60);
        body();
        _exit(0);
      }
    setAge(age);
    while (wait(nullptr) != -1)
      continue;
  }
  static void killHolder() { raise(CrossprocessLock("x", 1000).isHeld() ? SIGKILL : 0); }

  static inline const support::TempDir home; // which a process asks for once
  const std::string folder = home / ".cache/QivCross/_Lockers/", file = folder + "x.lock";
};

// Of two waiters that find the same stale file, the slower one must not remove the file that the
// faster one has made in its place. An update that another process makes meanwhile is lost.
TEST_F(CrossprocessLockTest, LetsOneOfEightProcessesInAtATime) {
  const std::string counter = home / "counter";
  const char* const rounds = getenv("QIV_LOCK_ROUNDS") ? getenv("QIV_LOCK_ROUNDS") : "100";
  for (int round = 0; round <= std::stoi(rounds); ++round) {
    const auto update = [&] {
      for (int times = round == 0 ? 500 : 1; times > 0; --times) {
        const CrossprocessLock lock("x", 50);
        const int old = std::stoi("0" + support::readFile(counter));
        usleep(20);
        support::writeFile(counter, std::to_string(old + 1));
      }
    };
    inProcesses(1, killHolder);
    inProcesses(8, update, 121);
    ASSERT_EQ(std::stoi(support::readFile(counter)), 8 * (500 + round));
  }
}

TEST_F(CrossprocessLockTest, IsTakenOverAfter120SecondsAndNotBefore) {
  inProcesses(1, killHolder);
  const std::time_t made = setAge(119);
  auto overtaken = std::make_unique<CrossprocessLock>("x", 1000);
  EXPECT_GT(std::time(nullptr), made + 120);
  setAge(121);
  const CrossprocessLock next("x", 100000000); // taken over at once, or not in time for this test
  overtaken.reset();
  EXPECT_TRUE(Qiv::fileExist(file)) << "it is the next holder's";
  EXPECT_EQ(cross::exec("ls -l /proc/self/fd").find(folder), std::string::npos) << "inherited";
}

TEST_F(CrossprocessLockTest, RemovesItsOwnFileOnlyAndNeedsNoDescriptorForThat) {
  inProcesses(1, [] {
    const CrossprocessLock lock("x", 1000);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
  });
  EXPECT_FALSE(Qiv::fileExist(file));
  EXPECT_FALSE(CrossprocessLock(std::string("x\0y", 3), 1000).isHeld());
  auto lock = std::make_unique<CrossprocessLock>("sub/x", 1000);
  EXPECT_FALSE(lock->isHeld());
  std::filesystem::create_directory(folder + "sub");
  support::writeFile(folder + "sub/x.lock", "");
  lock.reset();
  EXPECT_TRUE(Qiv::fileExist(folder + "sub/x.lock"));
}

} // namespace
