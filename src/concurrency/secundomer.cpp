#include "qiv/concurrency.h"

#include <chrono>
#include <glibmm/dispatcher.h>
#include <glibmm/main.h>
#include <vector>

namespace Qiv {

namespace {

constexpr std::int32_t running = 0;
constexpr std::int32_t stopped = 1;
constexpr std::int32_t paused = 2;

/// Nanoseconds that are left for the next pass.
constexpr std::int64_t uncounted = 98999;

std::int64_t now() {
  const auto time = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::nanoseconds(time).count();
}

} // namespace

/// Calls one member of a stopwatch in the owner's thread.
///
/// All Glib::Dispatchers of a thread share a pipe of 4,096 emissions, and emit() blocks when it is
/// full. So one emission at most is under way here. It stays in the pipe when the stopwatch goes,
/// which is why the dispatcher does not go too but serves the thread's next stopwatch.
class Secundomer::Dispatcher {
public:
  using Action = void (Secundomer::*)();

  static std::shared_ptr<Dispatcher> take(Secundomer* stopwatch, Action action) {
    thread_local const auto idle = std::make_shared<std::vector<std::unique_ptr<Dispatcher>>>();
    if (idle->empty())
      idle->emplace_back(new Dispatcher);
    Dispatcher* const dispatcher = idle->back().release();
    idle->pop_back();
    dispatcher->stopwatch = stopwatch;
    dispatcher->action = action;
    return {dispatcher, [pool = idle](Dispatcher* returned) {
              returned->wanted = false;
              pool->emplace_back(returned);
            }};
  }

  void emit() {
    wanted = true;
    if (!underWay.exchange(true))
      dispatcher.emit();
  }

private:
  Dispatcher() : dispatcher(Glib::wrap(g_main_context_ref_thread_default(), false)) {
    dispatcher.connect([this] {
      underWay = false;
      if (wanted.exchange(false))
        (stopwatch->*action)();
    });
  }

  Glib::Dispatcher dispatcher;
  std::atomic<bool> underWay{false};
  std::atomic<bool> wanted{false}; ///< by the present stopwatch
  Secundomer* stopwatch = nullptr;
  Action action = nullptr;
};

Secundomer::Secundomer()
    : stopDispatcher(Dispatcher::take(this, &Secundomer::_onStop)),
      timeDispatcher(Dispatcher::take(this, &Secundomer::_onSetTime)), state(stopped) {}

Secundomer::~Secundomer() {
  if (thread)
    _onStop();
  // A slot may be what destroys us: the slots after it are not called, and none leaks.
  signalTimeChanged.clear();
}

void Secundomer::start() {
  reset();
  if (thread)
    return;
  state = running;
  thread = std::make_unique<std::thread>(&Secundomer::_threadFunc, this);
}

void Secundomer::pause() {
  state = paused;
}

void Secundomer::stop() {
  state = stopped;
}

void Secundomer::reset() {
  {
    const std::lock_guard lock(mutex);
    elapsedSeconds = 0;
  }
  timeDispatcher->emit();
}

void Secundomer::_threadFunc() {
  ThreadHelper::setCurrentThreadName("secundomer");
  std::int64_t last = now();
  while (state != stopped) {
    const std::int64_t current = now();
    if (current - last <= uncounted)
      continue;
    if (state != paused)
      _add(current - last);
    last = current;
  }
  stopDispatcher->emit();
}

void Secundomer::_add(std::int64_t nanoseconds) {
  {
    const std::lock_guard lock(mutex);
    elapsedSeconds = static_cast<float>(elapsedSeconds + static_cast<float>(nanoseconds) / 1e9);
  }
  timeDispatcher->emit();
}

void Secundomer::_onStop() {
  state = stopped;
  if (thread && thread->joinable())
    thread->join();
  thread.reset();
}

void Secundomer::_onSetTime() {
  if (state == running)
    signalTimeChanged.emit(elapsedSeconds);
}

} // namespace Qiv
