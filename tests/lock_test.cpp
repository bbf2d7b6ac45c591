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
  static void inProcesses(int count, const std::function<void()>& body) {
    while (count-- > 0)
      if (fork() == 0) {
        alarm(250);
        body();
        _exit(0);
      }
    while (wait(nullptr) != -1)
      continue;
  }

  static inline const support::TempDir home; // which a process asks for once
  const std::string folder = home / ".cache/QivCross/_Lockers/", file = folder + "x.lock";
};

// Of two waiters that find the same stale file, the slower one must not remove the file that the
// faster one has made in its place. An update that another process makes meanwhile is lost.
TEST_F(CrossprocessLockTest, LosesNoUpdateOfEightProcesses) {
  const std::string counter = home / "counter";
  const char* const rounds = getenv("QIV_LOCK_ROUNDS") ? getenv("QIV_LOCK_ROUNDS") : "100";
  const int updates = 500 + std::stoi(rounds);
  inProcesses(8, [&] {
    for (int i = 0; i < updates; ++i) {
      auto lock = std::make_unique<CrossprocessLock>("x", 50);
      const int old = std::stoi("0" + support::readFile(counter));
      usleep(20);
      support::writeFile(counter, std::to_string(old + 1));
      if (i >= 500) {
        setAge(121);
        lock.release(); // leaves a stale file to seven waiters
      }
    }
  });
  EXPECT_EQ(support::readFile(counter), std::to_string(8 * updates));
}

TEST_F(CrossprocessLockTest, OfAKilledHolderIsTakenOverAfter120SecondsAndNotBefore) {
  inProcesses(1, [] { raise(CrossprocessLock("x", 1000).isHeld() ? SIGKILL : 0); });
  const std::time_t made = setAge(119);
  auto overtaken = std::make_unique<CrossprocessLock>("x", 1000);
  EXPECT_GT(std::time(nullptr), made + 120);
  setAge(121);
  const CrossprocessLock next("x", 1000000000); // taken over at once, or not in time for this test
  overtaken.reset();
  EXPECT_TRUE(Qiv::fileExist(file)) << "it is the next holder's";
  EXPECT_EQ(cross::exec("ls -l /proc/self/fd").find(folder), std::string::npos) << "inherited";
}

TEST_F(CrossprocessLockTest, RemovesItsOwnFileOnlyAndNeedsNoDescriptorForThat) {
  EXPECT_FALSE(CrossprocessLock(std::string("x\0y", 3), 1000).isHeld());
  inProcesses(1, [file = file] {
    const CrossprocessLock holder("x", 1000);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    if (!CrossprocessLock("x", 1000).isHeld())
      std::filesystem::create_hard_link(file, file + ".left");
  });
  EXPECT_TRUE(Qiv::fileExist(file + ".left") && !Qiv::fileExist(file));
}

} // namespace
