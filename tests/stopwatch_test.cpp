#include "qiv/concurrency.h"

#include <chrono>
#include <glibmm/main.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// A stopwatch with what it has reported.
struct Watch : Qiv::Secundomer {
  /// Runs the main loop for `seconds`, or until there are `more` emissions.
  bool reports(long more, double seconds = 20) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    for (more += emissions; emissions < more && Clock::now() < end;)
      Glib::MainContext::get_default()->iteration(false);
    return emissions >= more;
  }
  bool isReporting() { return reports(10); }
  bool isSilent() { return !reports(1, 0.1); }

  long emissions = 0;
  float last = 0;
  sigc::connection own = signalTimeChanged.connect([this](float seconds) {
    ++emissions;
    last = seconds;
  });
};

/// A stopwatch that blocks would do so for ever.
struct SecundomerTest : testing::Test {
  SecundomerTest() { alarm(60); }
  ~SecundomerTest() override { alarm(0); }
};

TEST_F(SecundomerTest, ReportsTheTimeSinceTheLastStart) {
  Watch watch;
  const auto before = Clock::now();
  watch.start();
  while (watch.last < 0.5F)
    ASSERT_TRUE(watch.isReporting());
  EXPECT_LT(watch.last, std::chrono::duration<float>(Clock::now() - before).count() + 0.01F);
  watch.start();
  EXPECT_TRUE(watch.isReporting());
  EXPECT_LT(watch.last, 0.4F);
}

TEST_F(SecundomerTest, IsSilentUntilAStopHasBeenSeenAndAStartFollows) {
  Watch watch;
  const auto rest = {&Watch::reset, &Watch::pause, &Watch::start, &Watch::stop};
  watch.stop(), watch.reset();
  EXPECT_TRUE(watch.isSilent());
  watch.start();
  EXPECT_TRUE(watch.isReporting());
  watch.pause();
  for (const auto call : rest) {
    (watch.*call)();
    EXPECT_TRUE(watch.isSilent());
  }
  watch.start();
  EXPECT_TRUE(watch.isReporting());
  watch.stop(), watch.start();
  EXPECT_TRUE(watch.isSilent());
}

// The pipe that all dispatchers of a thread share is full after 0.4 s of one stopwatch.
TEST_F(SecundomerTest, NeverWaitsForTheMainLoop) {
  std::vector<Watch> watches(3);
  for (Watch& watch : watches)
    watch.start();
  sleep(1);
  for (int i = 0; i < 100000; ++i)
    watches[0].reset(), watches[1].start();
  watches[2].stop();
  EXPECT_TRUE(watches[0].isReporting() && watches[1].isReporting());
  watches[2].start();
  EXPECT_TRUE(watches[2].isReporting());
}

// What a stopwatch has put into the pipe stays there when it is destroyed.
TEST_F(SecundomerTest, ManyMayLiveAndDieWithoutTheMainLoop) {
  std::thread([] {
    Watch survivor;
    for (int i = 0; i < 5000; ++i)
      Watch().start();
    Watch heir; // of emissions that are still under way
    survivor.start(), heir.start();
    EXPECT_TRUE(survivor.isReporting() && heir.isReporting());
  }).join();
}

TEST_F(SecundomerTest, SlotMayCallAnything) {
  using Action = void (*)(std::unique_ptr<Watch>&);
  const std::pair<const char*, Action> actions[] = {
      {"destroys", [](auto& watch) { watch.reset(); }},
      {"replaces", [](auto& watch) { watch = std::make_unique<Watch>(); }},
      {"restarts", [](auto& watch) { watch->stop(), watch->start(); }},
      {"nests the main loop", [](auto& watch) { EXPECT_TRUE(watch->isReporting()); }},
  };
  for (const auto& [name, action] : actions) {
    SCOPED_TRACE(name);
    Watch other;
    auto watch = std::make_unique<Watch>();
    int calls = 0;
    watch->signalTimeChanged.connect(
        [&, action = action](float) { ++calls == 1 ? action(watch) : void(); });
    watch->start(), other.start();
    while (calls == 0)
      ASSERT_TRUE(other.isReporting());
    EXPECT_TRUE(other.isReporting());
  }
}

} // namespace
