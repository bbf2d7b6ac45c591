#include "qiv/concurrency.h"
#include "qiv/files.h"

#include "support.h"

#include <cstdio>
#include <stdexcept>
#include <vector>

namespace {

using Qiv::StdOutCapture;
using Qiv::TypeHelper;

using Signal = sigc::signal<void>;
using Hook = std::function<void()>;

/// A connection whose slot runs `hook` when it is destroyed.
sigc::connection connect(
    Signal& signal, const Hook& hook = [] {}) {
  return signal.connect([guard = std::shared_ptr<void>(nullptr, [hook](void*) { hook(); })] {});
}

struct Named : Qiv::PointerNamedConnectionsDispatcher {
  using Base = Qiv::PointerNamedConnectionsDispatcher;
  void connect(const void* object, const sigc::connection& c) { Base::connect(object, "n", c); }
  void disconnect(const void* object) { Base::disconnect(object, "n"); }
};

template <typename Dispatcher>
struct ConnectionsDispatcher : testing::Test {};
using Dispatchers = testing::Types<Qiv::PointerConnectionsDispatcher, Named>;
TYPED_TEST_SUITE(ConnectionsDispatcher, Dispatchers, );

TYPED_TEST(ConnectionsDispatcher, KeepsOneConnectionForAnObject) {
  Signal a, b, c;
  auto connections = std::make_unique<TypeParam>();
  connections->connect(&a, connect(a));
  connections->connect(&a, connect(b));
  connections->connect(&c, connect(c));
  connections->disconnect(&b);
  EXPECT_TRUE(a.empty() && !b.empty());
  connections->disconnect(&a);
  EXPECT_TRUE(b.empty() && !c.empty());
  connections.reset();
  EXPECT_TRUE(c.empty());
}

TEST(PointerNamedConnectionsDispatcher, KeepsTheNamesOfAnObjectApart) {
  Signal a, b, c;
  Qiv::PointerNamedConnectionsDispatcher connections;
  connections.connect(&a, "a", connect(a));
  connections.connect(&a, "b", connect(b));
  connections.connect(&c, "a", connect(c));
  connections.disconnect(&a, "a");
  EXPECT_TRUE(a.empty() && !b.empty());
  connections.disconnectObject(&a);
  EXPECT_TRUE(b.empty() && !c.empty());
}

TYPED_TEST(ConnectionsDispatcher, BearsSlotsThatUseItWhenTheyGo) {
  Signal s[6];
  TypeParam* connections;
  bool alive;
  const Hook destroy = [&] {
    if (std::exchange(alive, false))
      delete connections;
  };
  const std::pair<const char*, Hook> hooks[] = {
      {"disconnects", [&] { connections->disconnect(&s[2]), connections->disconnect(&s[3]); }},
      {"disconnects all", [&] { connections->disconnectAll(); }},
      {"connects", [&] { connections->connect(&s[0], connect(s[5])); }},
      {"connects anew", [&] { connections->connect(&s[2], connect(s[5])); }},
      {"destroys", destroy},
  };
  const std::pair<const char*, Hook> causes[] = {
      {"disconnectAll", [&] { connections->disconnectAll(); }},
      {"connect", [&] { connections->connect(&s[2], connect(s[4])); }},
      {"disconnect", [&] { connections->disconnect(&s[2]); }},
      {"destructor", destroy},
  };
  for (const auto& [hookName, hook] : hooks)
    for (const auto& [causeName, cause] : causes) {
      SCOPED_TRACE(std::string(hookName) + " in " + causeName);
      connections = new TypeParam;
      alive = true;
      for (Signal* signal = s; signal < s + 4; ++signal)
        connections->connect(signal, connect(
                                         *signal, signal == s + 2 ? hook : [] {}));
      cause();
      destroy();
      for (const Signal& signal : s)
        EXPECT_TRUE(signal.empty());
    }
}

TEST(DebugManager, TellsOfChangesOnly) {
  std::string events;
  Qiv::DebugManager::signalEnabledChanged.connect([&](bool on) { events += on ? "E" : "e"; });
  Qiv::DebugManager::signalSetupChanged.connect([&](bool on) { events += on ? "S" : "s"; });
  for (const bool value : {false, true, true, false})
    Qiv::DebugManager::setIsEnabled(value);
  Qiv::DebugManager::setSetup(true);
  EXPECT_EQ(events, "EeS");
  EXPECT_TRUE(Qiv::DebugManager::getSetup() && !Qiv::DebugManager::getIsEnabled());
}

TEST(StdOutCapture, TakesBothStreamsAndChildren) {
  StdOutCapture capture;
  capture.beginCapture();
  std::printf("lost\n");
  capture.beginCapture();
  std::printf("\na\n");
  std::fprintf(stderr, "b\n");
  std::fflush(stdout);
  EXPECT_EQ(std::system("echo c"), 0);
  capture.endCapture();
  capture.endCapture();
  EXPECT_EQ(capture.getCapture(), "b\n\na\nc");
}

// The writing end stays open: a reading end that blocks would wait for more after whole chunks.
TEST(StdOutCapture, EndsAtOnceWhateverTheLength) {
  alarm(60);
  StdOutCapture capture;
  for (const char* const text : {"", "\r\n", "x"})
    for (const std::size_t times : {1, 1023, 1024, 2048, 32768}) {
      std::string whole;
      for (std::size_t i = 0; i < times; ++i)
        whole += text;
      capture.beginCapture();
      std::fputs(whole.c_str(), stdout);
      capture.endCapture();
      EXPECT_EQ(capture.getCapture(), whole);
    }
  alarm(0);
}

TEST(StdOutCapture, LeavesNoDescriptorBehind) {
  const long before = support::openDescriptors();
  const std::string inherited = cross::exec("ls /proc/self/fd");
  for (int i = 0; i < 10000; ++i)
    StdOutCapture().beginCapture();
  EXPECT_EQ(support::openDescriptors(), before);
  const StdOutCapture capture;
  EXPECT_EQ(cross::exec("ls /proc/self/fd"), inherited);
}

/// A type with a name of our choice.
struct Forged : std::type_info {
  explicit Forged(const char* name) : std::type_info(name) {}
};

TEST(TypeHelper, ShortNameLosesItsNamespacesOnly) {
  EXPECT_EQ(TypeHelper::getTypeName(typeid(Qiv::Secundomer)), "Qiv::Secundomer");
  EXPECT_EQ(TypeHelper::getShortTypeName(typeid(int)), "int");
  EXPECT_EQ(TypeHelper::getShortTypeName(typeid(std::vector<Qiv::Secundomer>)),
            "vector<Qiv::Secundomer, std::allocator<Qiv::Secundomer> >");
  EXPECT_EQ(TypeHelper::getTypeName(Forged("**3Own")), "Own");
  EXPECT_THROW(TypeHelper::getTypeName(Forged("?")), std::logic_error);
}

} // namespace
