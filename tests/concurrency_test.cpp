#include "qiv/concurrency.h"
#include "qiv/files.h"
#include "support.h"

#include <future>
#include <glibmm/main.h>
#include <random>

namespace {

using namespace std::chrono_literals;
using namespace support;
using Clock = std::chrono::system_clock;

TEST(ThreadManager, RandomCallsLeadToTheStateTheySay) {
  std::atomic<int> count{0};
  Qiv::ThreadManager manager;
  enum { start, pause, resume, stop };
  const std::function<void()> calls[] = {[&] { manager.start([&] { ++count; }); },
                                         [&] { manager.pause(); }, [&] { manager.resume(); },
                                         [&] { manager.stop(); }};
  bool worker = false, paused = false;
  std::mt19937 random(1);
  const int cycles = rounds(2500, 10000);
  for (int i = 0; i < 4 * cycles; ++i) {
    const auto call = random() % 4;
    calls[call]();
    paused = call == pause || (call == start && paused && !worker);
    worker = call == start || (call != stop && worker);
    const int inProgress = count + 1;
    for (bool wait = random() % 8 == 0; wait; wait = worker && !paused && count <= inProgress)
      std::this_thread::sleep_for(1ms);
    EXPECT_TRUE((worker && !paused) || count <= inProgress);
  }
  RecordProperty("worker cycles of start, pause, resume and stop, in any order", cycles);
}

// Who takes the event owns the counter until it sets the event again. A set that is lost stops all
// threads; one that two of them take loses counts.
TEST(AutoResetEvent, IsTakenOnceForEachSet) {
  const int sets = rounds(160000, 1600000);
  Qiv::AutoResetEvent event;
  int count = 0;
  std::vector<std::future<void>> threads(16);
  for (auto& thread : threads)
    thread = std::async(std::launch::async, [&] {
      for (int i = 0; i < sets / 16; ++i, ++count, event.set())
        if (i % 4 > 1 || !event.waitOne(static_cast<unsigned int>(i % 4)))
          event.waitOne();
    });
  event.set();
  threads.clear(); // when they have ended
  expectAtMost(0, std::to_string(sets) + " sets of an event, not taken once", sets - count);
  EXPECT_TRUE(event.isSet() && event.waitOne(0) && !event.isSet());
  event.set();
  event.reset();
  const auto end = Clock::now() + 100ms;
  EXPECT_FALSE(event.waitOne(100) || Clock::now() < end);
}

/// A stopwatch with the times that it has reported last.
struct Watch : Qiv::Secundomer {
  /// Runs the main loop until there are reports, or for a while that should see none.
  bool reports(bool expected = true) {
    times.clear();
    const auto end = Clock::now() + (expected ? 1h : 50ms);
    while (times.size() < 10 && Clock::now() < end)
      Glib::MainContext::get_default()->iteration(false);
    return !times.empty();
  }
  std::vector<float> times;
  sigc::connection own = signalTimeChanged.connect([this](float time) { times.push_back(time); });
};

TEST(Secundomer, ReportsTheTimeFromStartToStop) {
  Watch watch;
  const auto start = Clock::now();
  watch.start();
  for (float passed = 0; passed < 0.5F || watch.times.back() < 0.9F * passed;) { // late, if loaded
    ASSERT_TRUE(watch.reports());
    passed = std::chrono::duration<float>(Clock::now() - start).count();
    ASSERT_LE(watch.times.back(), 1.01F * passed);
  }
  while (watch.reports() && watch.times.front() > 0.3F)
    watch.start();
  for (const auto call : {&Watch::pause, &Watch::reset, &Watch::start, &Watch::stop}) {
    (watch.*call)();
    EXPECT_FALSE(watch.reports(false));
  }
  watch.start();
  watch.stop();
  watch.start();
  EXPECT_FALSE(watch.reports(false)) << "its stop has not been seen yet";
}

// All dispatchers of a thread share a pipe of 4,096 emissions: 0.4 s of a stopwatch, or as many
// that were destroyed.
TEST(Secundomer, NeverWaitsForTheMainLoop) {
  std::thread([] {
    for (int i = 0; i < 5000; ++i) {
      Watch watch;
      watch.start();
      usleep(i % 5 ? 0 : 200);
    }
    RecordProperty("stopwatches destroyed while running", 5000);
    Watch watch; // gets emissions that are still under way
    watch.start();
    sleep(1);
    for (int i = 0; i < 100000; ++i)
      watch.reset();
    EXPECT_TRUE(watch.reports());
    watch.stop();
    while (!watch.reports(false)) // until the main loop has seen the stop
      watch.start();
  }).join();
}

/// Cuts four connections in several ways, whose slots cut them all when they go.
template <typename Dispatcher, typename... Name>
void expectBearsItsSlots(Name... name) {
  const char objects[4] = "";
  sigc::signal<void> signal;
  for (int way = 0; way < 3; ++way) {
    const auto dispatcher = std::make_unique<Dispatcher>();
    const auto cutAll = [&connections = *dispatcher](void*) { connections.disconnectAll(); };
    for (const char& object : objects)
      dispatcher->connect(&object, name...,
                          signal.connect([guard = std::shared_ptr<void>(nullptr, cutAll)] {}));
    if (way == 1)
      dispatcher->disconnect(&objects[2], name...);
    if (way == 2)
      dispatcher->connect(&objects[2], name..., signal.connect([] {}));
  }
  EXPECT_TRUE(signal.empty());
}

TEST(ConnectionsDispatchers, BearSlotsThatUseThemWhenTheyGo) {
  expectBearsItsSlots<Qiv::PointerConnectionsDispatcher>();
  expectBearsItsSlots<Qiv::PointerNamedConnectionsDispatcher>("name");
}

TEST(DebugManager, TellsChanges) {
  using Debug = Qiv::DebugManager;
  std::string told;
  Debug::signalEnabledChanged.connect([&](bool on) { told += on ? 'E' : 'e'; });
  Debug::signalSetupChanged.connect([&](bool on) { told += on ? 'S' : 's'; });
  for (const bool value : {false, true, true, false})
    Debug::setIsEnabled(value), Debug::setSetup(value);
  EXPECT_EQ(told, "ESes");
}

// The writing end stays open: a reading end that blocks would wait for more after whole chunks.
TEST(StdOutCapture, TakesAllEndsAtOnceAndLeavesNothing) {
  expectNothingLeft("captures", rounds(1000, 10000), [size = 0]() mutable {
    size = (size + 512) % 2560;
    Qiv::StdOutCapture capture;
    capture.beginCapture();
    std::fputs(std::string(size, '\n').c_str(), stdout);
    capture.endCapture();
    EXPECT_EQ(capture.getCapture(), std::string(size, '\n'));
    capture.beginCapture(); // for the destructor to end
  });
  const std::string inherited = cross::exec("ls /proc/self/fd");
  Qiv::StdOutCapture capture;
  capture.beginCapture();
  std::puts("a\n");
  std::fflush(stdout);
  EXPECT_EQ(cross::exec("ls /proc/self/fd; echo 'b\r' >&2"), inherited);
  capture.endCapture();
  capture.endCapture(); // of nothing
  EXPECT_EQ(capture.getCapture(), "a\n\nb");
}

} // namespace
