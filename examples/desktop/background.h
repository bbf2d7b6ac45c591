#ifndef DESKTOP_BACKGROUND_H
#define DESKTOP_BACKGROUND_H

#include <atomic>
#include <functional>
#include <glibmm/dispatcher.h>
#include <mutex>
#include <optional>
#include <qiv/concurrency.h>
#include <utility>

/// Does a task on a thread of its own and hands what it returns to the main loop. All members
/// belong to the thread of the main loop; only the task runs on the other one, and it may share
/// nothing with the window.
template <typename Value>
class Background {
public:
  /// Emitted by the main loop with what the task returned. A value that the loop has not fetched
  /// before the next one is passed over.
  sigc::signal<void, const Value&> signalDone;

  Background() {
    arrived.connect([this] { fetch(); });
  }
  /// stop().
  ~Background() { stop(); }

  /// Does the task at once, and again at each wake() and whenever the pause is over. The task must
  /// not throw.
  void start(std::function<Value()> task, unsigned int pauseMilliseconds) {
    stop();
    worker.start([this, task = std::move(task), pauseMilliseconds] {
      if (!stopping)
        post(task());
      woken.waitOne(pauseMilliseconds);
      if (stopping)
        woken.set(); // a round that follows must not wait either
    });
  }

  /// Ends the pause.
  void wake() { woken.set(); }

  /// Waits until a task in progress has ended. Nothing is emitted any more.
  void stop() {
    stopping = true;
    woken.set();
    worker.stop();
    woken.reset();
    stopping = false;
    value.reset();
  }

private:
  void post(Value result) {
    {
      const std::lock_guard lock(mutex);
      value = std::move(result);
    }
    arrived.emit();
  }
  void fetch() {
    std::optional<Value> result;
    {
      const std::lock_guard lock(mutex);
      result.swap(value);
    }
    if (result)
      signalDone.emit(*result);
  }

  Glib::Dispatcher arrived;
  std::mutex mutex;
  std::optional<Value> value; ///< guarded by the mutex while the worker runs
  std::atomic<bool> stopping{false};
  Qiv::AutoResetEvent woken;
  Qiv::ThreadManager worker;
};

#endif
