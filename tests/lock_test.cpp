#include "qiv/concurrency.h"
#include "qiv/files.h"

#include "support.h"

#include <csignal>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <vector>

namespace {

using Qiv::CrossprocessLock;
using Children = std::vector<pid_t>;

/// A home folder, and processes that live in it: HOME is read once in a process.
class CrossprocessLockTest : public testing::Test {
protected:
  Children launch(int count, const std::function<void()>& body) {
    Children children;
    while (count-- > 0)
      if (children.push_back(fork()); children.back() == 0) {
        setenv("HOME", home.getPath().c_str(), 1);
        alarm(60);
        body();
        _exit(HasFailure());
      }
    return children;
  }
  static void expectSuccess(const Children& children) {
    for (const pid_t child : children) {
      int status = -1;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    }
  }
  std::string fileOf(const std::string& name) const { return folder + name + ".lock"; }
  bool exists() const { return Qiv::fileExist(fileOf("x")); }
  void setAge(long age) const {
    const timespec time{std::time(nullptr) - age, 0};
    const timespec times[] = {time, time};
    EXPECT_EQ(utimensat(AT_FDCWD, fileOf("x").c_str(), times, 0), 0);
  }

  const support::TempDir home;
  const std::string folder = home / ".cache/QivCross/_Lockers/";
};

void withoutNewDescriptors(const std::function<void()>& body) {
  rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{0, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  body();
  setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(CrossprocessLockTest, LosesNoUpdateOfEightProcesses) {
  const std::string counter = home / "counter";
  support::writeFile(counter, "0");
  expectSuccess(launch(8, [&] {
    for (int n = 0; n < 500; ++n) {
      const CrossprocessLock lock("x", 100);
      support::writeFile(counter, std::to_string(std::stoi(support::readFile(counter)) + 1));
    }
  }));
  EXPECT_EQ(support::readFile(counter), "4000");
  EXPECT_FALSE(exists());
}

TEST_F(CrossprocessLockTest, OfAKilledHolderIsFreeAfter120Seconds) {
  const Children holder = launch(1, [] {
    const CrossprocessLock lock("x", 1000);
    pause();
  });
  while (!exists())
    usleep(1000);
  kill(holder[0], SIGKILL);
  waitpid(holder[0], nullptr, 0);
  setAge(118);
  const Children waiter = launch(1, [] { EXPECT_TRUE(CrossprocessLock("x", 1000).isHeld()); });
  usleep(200000);
  EXPECT_EQ(waitpid(waiter[0], nullptr, WNOHANG), 0) << "taken over too early";
  setAge(121);
  expectSuccess(waiter);
}

// Of two waiters that find the same stale file, the slower one must not remove the file that the
// faster one has made in its place.
TEST_F(CrossprocessLockTest, StaleOneLetsOneWaiterInAtATime) {
  const int rounds = getenv("QIV_LOCK_ROUNDS") ? std::stoi(getenv("QIV_LOCK_ROUNDS")) : 500;
  std::filesystem::create_directories(folder);
  void* const memory =
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto& [round, inside, overlaps, done] = *static_cast<std::array<std::atomic<int>, 4>*>(memory);
  const Children waiters =
      launch(8, [&, &round = round, &inside = inside, &overlaps = overlaps, &done = done] {
        for (int own = 1; own <= rounds; ++own, ++done) {
          while (round < own)
            usleep(50);
          const CrossprocessLock lock("x", 20);
          overlaps += ++inside > 1;
          usleep(100);
          --inside;
        }
      });
  while (round < rounds) {
    support::writeFile(fileOf("x"), "");
    ++round;
    usleep(1000);
    setAge(121);
    while (done < 8 * round || exists())
      usleep(50);
  }
  expectSuccess(waiters);
  EXPECT_EQ(overlaps, 0);
}

TEST_F(CrossprocessLockTest, OvertakenHolderLeavesTheFileToTheNext) {
  expectSuccess(launch(1, [&] {
    auto overtaken = std::make_unique<CrossprocessLock>("x", 1000);
    setAge(121);
    const CrossprocessLock next("x", 1000);
    overtaken.reset();
    EXPECT_TRUE(exists());
  }));
  EXPECT_FALSE(exists());
}

TEST_F(CrossprocessLockTest, ThatWasNotObtainedGuardsNothing) {
  expectSuccess(launch(1, [&] {
    EXPECT_FALSE(CrossprocessLock("sub/x", 1000).isHeld());
    EXPECT_FALSE(CrossprocessLock(std::string("x\0y", 3), 1000).isHeld());
    std::filesystem::create_directory(folder + "sub");
    EXPECT_TRUE(CrossprocessLock("sub/x", 1000).isHeld());
    support::writeFile(fileOf("x"), "");
    withoutNewDescriptors([] { EXPECT_FALSE(CrossprocessLock("x", 1000).isHeld()); });
    EXPECT_TRUE(exists()) << "somebody else's";
  }));
}

TEST_F(CrossprocessLockTest, KeepsItsDescriptorToItselfAndNeedsNoOther) {
  expectSuccess(launch(1, [&] {
    auto lock = std::make_unique<CrossprocessLock>("x", 1000);
    EXPECT_EQ(cross::exec("ls -l /proc/self/fd").find(folder), std::string::npos);
    withoutNewDescriptors([&] { lock.reset(); });
    EXPECT_FALSE(exists());
  }));
}

} // namespace
