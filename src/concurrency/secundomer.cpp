#include "qiv/concurrency.h"

#include <chrono>
#include <glib.h>
#include <glibmm/exceptionhandler.h>

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

/// Calls one member of a stopwatch in its main context. Emissions that the main loop has not seen
/// yet are one, so none ever waits for it.
class Secundomer::Dispatcher {
public:
  using Action = void (Secundomer::*)();

  Dispatcher(Secundomer& stopwatch, Action action)
      : stopwatch(stopwatch), action(action), context(g_main_context_ref_thread_default()),
        source(g_source_new(&functions, sizeof(GSource))) {
    g_source_set_callback(source, call, this, nullptr);
    g_source_attach(source, context);
  }
  ~Dispatcher() {
    g_source_destroy(source);
    g_source_unref(source);
    g_main_context_unref(context);
  }
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;

  void emit() { g_source_set_ready_time(source, 0); }

private:
  static gboolean dispatch(GSource* source, GSourceFunc callback, gpointer dispatcher) {
    g_source_set_ready_time(source, -1);
    return callback(dispatcher);
  }

  /// The action may destroy its stopwatch, and the dispatcher with it.
  static gboolean call(gpointer dispatcher) {
    try {
      const auto* const self = static_cast<const Dispatcher*>(dispatcher);
      (self->stopwatch.*self->action)();
    } catch (...) { // must not pass through GLib
      Glib::exception_handlers_invoke();
    }
    return G_SOURCE_CONTINUE;
  }

  static inline GSourceFuncs functions = {nullptr, nullptr, dispatch, nullptr, nullptr, nullptr};

  Secundomer& stopwatch;
  const Action action;
  GMainContext* const context; ///< ours, too: with its context a source would go
  GSource* const source;
};

Secundomer::Secundomer()
    : stopDispatcher(std::make_unique<Dispatcher>(*this, &Secundomer::_onStop)),
      timeDispatcher(std::make_unique<Dispatcher>(*this, &Secundomer::_onSetTime)), state(stopped) {
}

Secundomer::~Secundomer() {
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
  elapsedNanoseconds = 0;
  timeDispatcher->emit();
}

void Secundomer::_threadFunc() {
  ThreadHelper::setCurrentThreadName("secundomer");
  std::int64_t last = now();
  while (state != stopped) {
    const std::int64_t current = now();
    if (current - last <= uncounted)
      continue;
    if (state != paused) {
      elapsedNanoseconds += current - last;
      timeDispatcher->emit();
    }
    last = current;
  }
  stopDispatcher->emit();
}

void Secundomer::_onStop() {
  state = stopped;
  if (thread)
    thread->join();
  thread.reset();
}

void Secundomer::_onSetTime() {
  if (state == running)
    signalTimeChanged.emit(static_cast<float>(static_cast<double>(elapsedNanoseconds) / 1e9));
}

} // namespace Qiv
