#include "qiv/concurrency.h"
#include "qiv/files.h"
#include "support.h"

#include <future>
#include <glibmm.h>

using namespace Qiv;
using namespace std::chrono_literals;
using namespace support;
using Clock = std::chrono::system_clock;

static std::atomic<bool> clockIsFast{false}; ///< each look at the system clock finds it 1 ms later
static std::atomic<std::int64_t> clockIsAhead{0}; ///< by so many milliseconds

/// Takes the place of the standard library's, in the library under test, too.
Clock::time_point Clock::now() noexcept {
  timespec time;
  clock_gettime(CLOCK_REALTIME, &time);
  return time_point(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec) +
                    std::chrono::milliseconds(clockIsAhead += clockIsFast));
}

namespace {

TEST(ThreadManager, RandomCallsLeadToTheStateTheySay) {
  std::atomic<int> count{0};
  ThreadManager manager;
  enum { start, pause, resume, stop };
  const std::function<void()> calls[] = {[&] { manager.start([&] { ++count; }); },
                                         [&] { manager.pause(); }, [&] { manager.resume(); },
                                         [&] { manager.stop(); }};
  bool worker = false;
  bool paused = false;
  const int cycles = rounds(2500, 10000);
  for (int i = 0; i < 4 * cycles; ++i) {
    const auto call = std::rand() % 4;
    calls[call]();
    const bool pauseHolds = paused && !worker; // for the worker that comes
    paused = call == pause || (call == start && pauseHolds);
    worker = call == start || (call != stop && worker);
    const int last = count + 1; // a round may be in progress
    if (std::rand() % 8 == 0)
      std::this_thread::sleep_for(1ms);
    if (!worker || paused)
      EXPECT_LE(count, last) << "calls: " << i;
    else if (std::rand() % 8 == 0)
      while (count <= last)
        std::this_thread::sleep_for(1ms);
  }
  RecordProperty("worker cycles of start, pause, resume and stop, in any order", cycles);
}

TEST(ThreadHelper, NamesTheCallingThread) {
  EXPECT_EQ(ThreadHelper::setCurrentThreadName("fifteen letters"), 0);
  EXPECT_EQ(ThreadHelper::setCurrentThreadName("sixteen, too many"), ERANGE);
  EXPECT_EQ(ThreadHelper::setCurrentThreadName(nullptr), EINVAL);
  std::thread([] { EXPECT_EQ(ThreadHelper::getCurrentThreadName(), "fifteen letters"); }).join();
}

// Who takes the event owns the counter until it sets the event again. A set that is lost stops all
// threads; one that two of them take loses counts.
TEST(AutoResetEvent, IsTakenOnceForEachSet) {
  const int sets = rounds(160000, 1600000);
  AutoResetEvent event;
  int count = 0;
  std::vector<std::future<void>> threads(16);
  for (auto& thread : threads)
    thread = std::async(std::launch::async, [&] {
      for (unsigned int i = 0; i < sets / 16U; ++i) {
        if (i % 4 > 1 || !event.waitOne(i % 4)) // for 0 or 1 ms
          event.waitOne();
        ++count;
        event.set();
      }
    });
  event.set();
  threads.clear(); // when they have ended
  expectAtMost(0, std::to_string(sets) + " sets of an event, not taken once", sets - count);
  EXPECT_TRUE(event.isSet());
  event.reset();
  const auto end = Clock::now() + 100ms;
  EXPECT_FALSE(event.waitOne(100));
  EXPECT_GE(Clock::now(), end);
}

/// A stopwatch with the times that it has reported last.
struct Watch : Secundomer {
  using Context = Glib::RefPtr<Glib::MainContext>;

  /// Runs a main loop until there are reports, or for a while that should see none.
  bool reports(bool expected = true, const Context& context = Glib::MainContext::get_default()) {
    times.clear();
    const auto end = Clock::now() + (expected ? 1h : 50ms);
    while (times.size() < 10 && Clock::now() < end)
      context->iteration(false);
    return !times.empty();
  }
  std::vector<float> times;
  sigc::connection own = signalTimeChanged.connect([this](float time) { times.push_back(time); });
};

TEST(Secundomer, ReportsTheTimeFromStartToStop) {
  Watch watch;
  watch.start();
  while (watch.reports() && watch.times.back() < 0.4F)
    ;
  while (watch.reports() && watch.times.front() > 0.3F)
    watch.start();
  for (const auto call : {&Watch::pause, &Watch::reset, &Watch::start, &Watch::stop}) {
    (watch.*call)();
    EXPECT_FALSE(watch.reports(false));
  }
  watch.start();
  EXPECT_TRUE(watch.reports());
}

// In single precision the millions of small times do not add up. None of them waits for the main
// loop, which looks in the end only.
TEST(Secundomer, IsExactAfterTwoHours) {
  Watch watch;
  const auto start = Clock::now();
  watch.start();
  clockIsFast = true;
  while (Clock::now() < start + 2h)
    std::this_thread::sleep_for(1ms);
  clockIsFast = false;
  ASSERT_TRUE(watch.reports());
  const float passed = std::chrono::duration<float>(Clock::now() - start).count();
  EXPECT_NEAR(watch.times.back(), passed, passed / 1000);
}

// A Glib::Dispatcher delivers to the first context that its thread has used them in, and must not
// live there together with those of another.
TEST(Secundomer, ReportsToTheContextThatItWasMadeIn) {
  Glib::Dispatcher ofTheApplication;
  Watch first;
  first.start();
  EXPECT_TRUE(first.reports());
  const auto context = Glib::MainContext::create();
  context->push_thread_default();
  Watch second;
  context->pop_thread_default();
  second.start();
  EXPECT_FALSE(second.reports(false));
  EXPECT_TRUE(second.reports(true, context));
}

TEST(Secundomer, HandsWhatASlotThrowsToTheApplication) {
  Watch watch;
  int thrown = 0;
  Glib::add_exception_handler([&] { ++thrown; });
  watch.signalTimeChanged.connect([](float) { throw 0; });
  watch.start();
  while (thrown < 3)
    Glib::MainContext::get_default()->iteration(false);
}

TEST(Secundomer, MayGoAtAnyTime) {
  auto first = std::make_unique<Watch>();
  first->signalTimeChanged.connect([&](float) { first.reset(); });
  first->start();
  while (first)
    Glib::MainContext::get_default()->iteration(false);
  for (int i = 0; i < 5000; ++i) {
    Watch watch;
    watch.start();
    usleep(i % 5 ? 0 : 200);
  }
  RecordProperty("stopwatches destroyed while running", 5000);
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
  expectBearsItsSlots<PointerConnectionsDispatcher>();
  expectBearsItsSlots<PointerNamedConnectionsDispatcher>("name");
}

TEST(ConnectionsDispatchers, CutWhatTheyAreTold) {
  const char objects[2] = "";
  sigc::signal<void, std::string&> signal;
  const auto adds = [&](char id) { return signal.connect([id](std::string& ids) { ids += id; }); };
  const auto connected = [&](std::string ids = "") {
    signal.emit(ids);
    return ids;
  };
  PointerConnectionsDispatcher plain;
  plain.connect(&objects[0], adds('a'));
  plain.connect(&objects[1], adds('b'));
  plain.disconnect(&objects[0]);
  PointerNamedConnectionsDispatcher named;
  for (const char* name : {"1", "2", "3"})
    named.connect(&objects[0], name, adds(*name));
  named.connect(&objects[1], "1", adds('4'));
  named.disconnect(&objects[0], "1");
  named.connect(&objects[0], "2", adds('5'));
  EXPECT_EQ(connected(), "b345");
  named.disconnectObject(&objects[0]);
  EXPECT_EQ(connected(), "b4");
}

TEST(ConnectionsDispatchers, KeepNothingOfObjectsThatWere) {
  PointerNamedConnectionsDispatcher connections;
  expectNothingLeft("named connections", rounds(1000, 10000), [&, object = 0UL]() mutable {
    const void* const next = reinterpret_cast<void*>(++object);
    connections.connect(next, "name", {});
    connections.disconnect(next, "name");
  });
}

TEST(DebugManager, TellsChanges) {
  std::vector<std::string> told;
  DebugManager::signalEnabledChanged.connect([&](bool on) { told.push_back(on ? "on" : "off"); });
  DebugManager::signalSetupChanged.connect([&](bool on) { told.push_back(on ? "setup" : "use"); });
  for (const auto set : {&DebugManager::setIsEnabled, &DebugManager::setSetup})
    for (const bool value : {false, true, true, false})
      set(value);
  EXPECT_EQ(told, std::vector<std::string>({"on", "off", "setup", "use"}));
  DebugManager::setSetup(true);
  EXPECT_TRUE(DebugManager::getSetup());
  EXPECT_FALSE(DebugManager::getIsEnabled());
}

TEST(TypeHelper, NamesTypesAsTheSourceDoes) {
  EXPECT_EQ(TypeHelper::getTypeName(typeid(Secundomer)), "Qiv::Secundomer");
  EXPECT_EQ(TypeHelper::getShortTypeName(typeid(std::less<Secundomer>)), "less<Qiv::Secundomer>");
}

// The writing end stays open: a reading end that blocks would wait for more after whole chunks.
TEST(StdOutCapture, TakesAllEndsAtOnceAndLeavesNothing) {
  static constexpr int sizes[] = {0, 1, 1024, 2500};
  expectNothingLeft("captures", rounds(1000, 10000), [call = 0]() mutable {
    const int size = sizes[call++ % 4];
    StdOutCapture capture;
    capture.beginCapture();
    std::fputs(std::string(size, '\n').c_str(), stdout);
    capture.endCapture();
    EXPECT_EQ(capture.getCapture(), std::string(size, '\n'));
    capture.beginCapture(); // for the destructor to end
  });
  const std::string inherited = cross::exec("ls /proc/self/fd");
  StdOutCapture capture;
  capture.beginCapture();
  std::puts("a\n");
  std::fflush(stdout);
  EXPECT_EQ(cross::exec("ls /proc/self/fd; echo 'b\r' >&2"), inherited);
  capture.endCapture();
  EXPECT_EQ(capture.getCapture(), "a\n\nb");
}

} // namespace
