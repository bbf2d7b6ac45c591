#include "qiv/concurrency.h"
#include "qiv/files.h"
#include "support.h"

#include <glibmm/main.h>
#include <list>
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
  for (const auto call : {pause, start, stop})
    calls[call]();
  EXPECT_EQ(count, 1) << "a round is due when the wait ends";
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
  std::vector<std::thread> threads(16);
  for (std::thread& thread : threads)
    thread = std::thread([&] {
      for (int i = 0; i < sets / 16; ++i, ++count, event.set())
        if (i % 4 > 1 || !event.waitOne(static_cast<unsigned int>(i % 4)))
          event.waitOne();
    });
  event.set();
  for (std::thread& thread : threads)
    thread.join();
  expectAtMost(0, std::to_string(sets) + " sets of an event, not taken once", sets - count);
  event.waitOne(); // for the set that came last
  EXPECT_FALSE(event.isSet());
  event.set();
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
  while (watch.reports() && watch.times.back() < 0.5F)
    continue;
  const float passed = std::chrono::duration<float>(Clock::now() - start).count();
  EXPECT_NEAR(watch.times.back() / passed, 0.6, 0.41); // of which the last tick may not know
  EXPECT_NE(cross::exec("cat /proc/$PPID/task/*/comm").find("secundomer"), std::string::npos);
  watch.start();
  EXPECT_TRUE(watch.reports() && watch.times.back() < 0.5F);
  for (const auto call : {&Watch::pause, &Watch::reset, &Watch::start, &Watch::stop}) {
    (watch.*call)();
    EXPECT_FALSE(watch.reports(false));
  }
  while (!watch.reports(false)) // until the main loop has seen the stop
    watch.start();
  watch.stop();
  watch.start();
  EXPECT_FALSE(watch.reports(false)) << "its stop has not been seen yet";
}

// All dispatchers of a thread share a pipe of 4,096 emissions: 0.4 s of a stopwatch, or as many
// that were destroyed.
TEST(Secundomer, NeverWaitsForTheMainLoop) {
  std::thread([] {
    std::list<Watch> watches(2);
    for (int i = 0; i < 5000; ++i) {
      Watch watch;
      watch.start();
      usleep(i % 5 ? 0 : 200);
    }
    RecordProperty("stopwatches destroyed while running", 5000);
    watches.emplace_front(); // and gets emissions that are still under way
    for (Watch& watch : watches)
      watch.start();
    sleep(1);
    watches.pop_back();
    for (int i = 0; i < 100000; ++i) {
      watches.front().reset();
      watches.back().start();
    }
    watches.back().stop();
    EXPECT_TRUE(watches.front().reports());
    while (!watches.back().reports(false))
      watches.back().start();
  }).join();
}

using Signal = sigc::signal<void>;
using Hook = std::function<void()>;

/// A connection whose slot calls `hook` when it is destroyed.
sigc::connection connect(Signal& signal, const Hook& hook) {
  return signal.connect([guard = std::shared_ptr<void>(nullptr, [hook](void*) { hook(); })] {});
}

/// Uses a dispatcher of four connections, whose slots may use it when they are cut.
template <typename Dispatcher, typename... Name>
void expectBearsItsSlots(Name... n) {
  const char objects[4] = "";
  Signal signal;
  std::unique_ptr<Dispatcher> owner;
  Dispatcher* connections;
  const std::tuple<std::string, std::size_t, Hook> uses[] = {
      {"nothing", 4, [] {}},
      {"disconnect", 3, [&] { connections->disconnect(&objects[2], n...); }},
      {"connect", 4, [&] { connections->connect(&objects[2], n..., signal.connect([] {})); }},
      {"disconnectAll", 0, [&] { connections->disconnectAll(); }},
      {"destroy", 0, [&] { owner.reset(); }},
  };
  for (const auto& [hookName, ignored, hook] : uses)
    for (const auto& [useName, left, use] : uses) {
      owner.reset(connections = new Dispatcher);
      for (const char& object : objects)
        connections->connect(&object, n..., connect(signal, hook));
      use();
      EXPECT_TRUE(hookName != "nothing" || signal.size() == left) << useName;
      owner.reset();
      EXPECT_TRUE(signal.empty()) << hookName << " in " << useName;
    }
}

TEST(ConnectionsDispatchers, BearSlotsThatUseThemWhenTheyGo) {
  expectBearsItsSlots<Qiv::PointerConnectionsDispatcher>();
  expectBearsItsSlots<Qiv::PointerNamedConnectionsDispatcher>("name");
}

TEST(PointerNamedConnectionsDispatcher, KeepsNamesAndObjectsApart) {
  Signal signal;
  Qiv::PointerNamedConnectionsDispatcher connections;
  const auto cutAll = [&] { connections.disconnectObject(&signal); };
  for (const char* name : {"a", "b", "c"})
    connections.connect(&signal, name, connect(signal, cutAll));
  connections.connect(&connections, "c", signal.connect([] {}));
  connections.disconnect(&connections, "b");
  EXPECT_EQ(signal.size(), 4);
  connections.disconnect(&signal, "b");
  EXPECT_EQ(signal.size(), 1);
}

TEST(DebugManager, TellsChanges) {
  using Debug = Qiv::DebugManager;
  for (const auto& [set, get, changed] :
       {std::tuple(&Debug::setIsEnabled, &Debug::getIsEnabled, &Debug::signalEnabledChanged),
        std::tuple(&Debug::setSetup, &Debug::getSetup, &Debug::signalSetupChanged)}) {
    std::string told;
    changed->connect([&, get = get](bool value) { told += get() == value ? "01"[value] : '?'; });
    for (const bool value : {false, true, true, false})
      set(value);
    EXPECT_EQ(told, "10");
    changed->clear();
  }
}

// The writing end stays open: a reading end that blocks would wait for more after whole chunks.
TEST(StdOutCapture, TakesAllEndsAtOnceAndLeavesNoDescriptor) {
  const std::string inherited = cross::exec("ls /proc/self/fd");
  const auto errors = std::filesystem::read_symlink("/proc/self/fd/2");
  expectNothingLeft("captures", rounds(1000, 10000), [size = 0]() mutable {
    size = (size + 512) % 2560;
    Qiv::StdOutCapture capture;
    capture.beginCapture();
    std::fputs(std::string(size, '\n').c_str(), stdout);
    capture.endCapture();
    EXPECT_EQ(capture.getCapture(), std::string(size, '\n'));
    capture.beginCapture(); // for the destructor to end
  });
  Qiv::StdOutCapture capture;
  capture.beginCapture();
  std::puts("lost");
  capture.beginCapture();
  std::fputs("a\n", stderr);
  std::puts("\nb");
  std::fflush(stdout);
  EXPECT_EQ(cross::exec("ls /proc/self/fd; echo 'c\r' >&2"), inherited);
  capture.endCapture();
  capture.endCapture();
  EXPECT_EQ(capture.getCapture(), "a\n\nb\nc");
  EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/2"), errors);
}

TEST(TypeHelper, ShortNameLosesItsNamespacesOnly) {
  struct Forged : std::type_info {
    explicit Forged(const char* name) : std::type_info(name) {}
  };
  EXPECT_EQ(Qiv::TypeHelper::getTypeName(Forged("**N3Own4TypeE")), "Own::Type");
  EXPECT_EQ(Qiv::TypeHelper::getShortTypeName(typeid(int)), "int");
  EXPECT_EQ(Qiv::TypeHelper::getShortTypeName(typeid(std::vector<Qiv::Secundomer>)),
            "vector<Qiv::Secundomer, std::allocator<Qiv::Secundomer> >");
  EXPECT_THROW(Qiv::TypeHelper::getTypeName(Forged("?")), std::logic_error);
}

} // namespace
