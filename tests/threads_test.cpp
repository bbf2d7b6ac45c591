#include "qiv/concurrency.h"

#include <chrono>
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

void pass(int ms) {
  std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

/// Work that can be seen to go on or to rest.
struct Rounds {
  std::atomic<int> count{0};
  const std::function<void()> work = [this] { ++count; };

  void expectMore() const {
    for (const int before = count; count == before;)
      std::this_thread::yield();
  }
  void expectNoMore() const {
    const int before = count;
    pass(10);
    EXPECT_EQ(count, before);
  }
};

TEST(ThreadManager, PauseAndStopActBetweenRounds) {
  Rounds first, second;
  Qiv::ThreadManager manager;
  manager.pause();
  manager.start(first.work);
  first.expectNoMore();
  manager.stop();
  EXPECT_EQ(first.count, 1) << "a round is due when the wait ends";
  manager.start(first.work);
  first.expectMore();
  manager.start(second.work);
  first.expectNoMore();
  second.expectMore();
}

TEST(ThreadManager, RandomCallsEndInTheStateTheySay) {
  std::mt19937 random(1);
  for (int sequence = 0; sequence < 20; ++sequence) {
    Rounds rounds;
    Qiv::ThreadManager manager;
    bool worker = false, paused = false;
    for (int call = 0; call < 500; ++call)
      switch (random() % 4) {
      case 0:
        manager.start(rounds.work);
        paused = paused && !worker;
        worker = true;
        break;
      case 1:
        manager.pause();
        paused = true;
        break;
      case 2:
        manager.resume();
        paused = false;
        break;
      case 3:
        manager.stop();
        worker = paused = false;
      }
    pass(10); // a round may be in progress
    worker && !paused ? rounds.expectMore() : rounds.expectNoMore();
    manager.resume();
    worker ? rounds.expectMore() : rounds.expectNoMore();
  }
}

TEST(ThreadHelper, NamesOfUpTo15Bytes) {
  EXPECT_EQ(Qiv::ThreadHelper::setCurrentThreadName("secundomer"), 0);
  EXPECT_EQ(Qiv::ThreadHelper::setCurrentThreadName("twenty characters .."), ERANGE);
  EXPECT_EQ(Qiv::ThreadHelper::getCurrentThreadName(), "secundomer");
}

TEST(AutoResetEvent, IsTakenOnce) {
  Qiv::AutoResetEvent event;
  event.set();
  event.set();
  EXPECT_TRUE(event.isSet() && event.waitOne(0));
  EXPECT_FALSE(event.waitOne(20) || event.isSet());
  std::thread setter([&] { pass(20), event.set(); });
  EXPECT_TRUE(event.waitOne(UINT_MAX));
  setter.join();
  event.set();
  event.reset();
  EXPECT_FALSE(event.waitOne(0));
}

// Who takes the event owns the counter until it sets the event again. A set that is lost stops all
// threads; one that two of them take loses counts.
TEST(AutoResetEvent, PassesOneTokenAMillionTimes) {
  Qiv::AutoResetEvent event;
  int count = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 16; ++t)
    threads.emplace_back([&, impatient = t % 4 == 0] {
      for (unsigned i = 0; i < 1000000 / 16; ++i, ++count, event.set())
        if (!impatient || !event.waitOne(i % 2))
          event.waitOne();
    });
  event.set();
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(count, 1000000);
}

} // namespace
