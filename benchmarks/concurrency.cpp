// Events, the worker, the lock file.

#include "bench.h"

#include <Poco/Event.h>
#include <atomic>
#include <fcntl.h>
#include <glib.h>
#include <linux/futex.h>
#include <qiv/concurrency.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

class FutexEvent {
public:
  void set() {
    if (state.exchange(1) == -1)
      syscall(SYS_futex, &state, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
  }
  void waitOne() {
    int set = 1;
    if (state.compare_exchange_strong(set, 0))
      return;
    while (state.exchange(-1) != 1)
      syscall(SYS_futex, &state, FUTEX_WAIT_PRIVATE, -1, nullptr, nullptr, 0);
    state = 0;
  }

private:
  std::atomic<int> state{0}; ///< 1 when set, -1 when somebody waits
};

class ConditionEvent {
public:
  void set() {
    {
      const std::lock_guard lock(mutex);
      isSet = true;
    }
    condition.notify_one();
  }
  void waitOne() {
    std::unique_lock lock(mutex);
    condition.wait(lock, [this] { return isSet; });
    isSet = false;
  }

private:
  std::mutex mutex;
  std::condition_variable condition;
  bool isSet = false;
};

class FdEvent {
public:
  ~FdEvent() { close(fd); }
  void set() { eventfd_write(fd, 1); }
  void waitOne() {
    eventfd_t value;
    eventfd_read(fd, &value);
  }

private:
  const int fd = eventfd(0, EFD_CLOEXEC);
};

class PocoEvent {
public:
  void set() { event.set(); }
  void waitOne() { event.wait(); }

private:
  Poco::Event event;
};

template <typename Event>
void pingPong() {
  constexpr int rounds = 1000;
  Event ping, pong;
  std::thread other([&] {
    for (int i = 0; i < rounds; ++i) {
      ping.waitOne();
      pong.set();
    }
  });
  for (int i = 0; i < rounds; ++i) {
    ping.set();
    pong.waitOne();
  }
  other.join();
}

/// Calls the function over and over until it returns false.
void repeatWithMutex(const std::function<bool()>& work) {
  std::mutex mutex;
  std::condition_variable condition;
  bool paused = false;
  bool goesOn = true;
  std::thread([&] {
    while (goesOn) {
      {
        std::unique_lock lock(mutex);
        condition.wait(lock, [&] { return !paused; });
      }
      goesOn = work();
    }
  }).join();
}

void repeatAsIdleSource(const std::function<bool()>& work) {
  GMainContext* const context = g_main_context_new();
  GSource* const source = g_idle_source_new();
  const GSourceFunc call = [](void* work) -> gboolean {
    return (*static_cast<const std::function<bool()>*>(work))();
  };
  g_source_set_callback(source, call, const_cast<std::function<bool()>*>(&work), nullptr);
  g_source_attach(source, context);
  std::thread([&] {
    while (!g_source_is_destroyed(source))
      g_main_context_iteration(context, TRUE);
  }).join();
  g_source_unref(source);
  g_main_context_unref(context);
}

void repeatByManager(const std::function<bool()>& work) {
  Qiv::AutoResetEvent ended;
  Qiv::ThreadManager manager;
  manager.start([&] {
    if (!work())
      ended.set();
  });
  ended.waitOne();
}

void addWorker() {
  const auto rounds = [](auto repeat) {
    return [=] {
      int count = 0;
      repeat([&] { return ++count < 100000; });
    };
  };
  bench::Row("worker, 100,000 rounds", 1, rounds(repeatByManager))
      .peer("mutex and condition by hand", rounds(repeatWithMutex))
      .peer("GLib main loop", rounds(repeatAsIdleSource));
}

void addLock() {
  const std::string path = bench::scratchFolder() + ".cache/QivCross/_Lockers/bare.lock";
  bench::Row("lock file taken and released", 1.15, [] {
    return Qiv::CrossprocessLock("bench", 1000).isHeld();
  }).peer("open O_EXCL, close, unlink", [=] {
    close(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    unlink(path.c_str());
  });
}

} // namespace

void bench::addConcurrency() {
  bench::Row("event ping-pong between threads, 1,000 rounds", 2.2, pingPong<Qiv::AutoResetEvent>)
      .peer("futex", pingPong<FutexEvent>)
      .peer("condition variable", pingPong<ConditionEvent>)
      .peer("eventfd", pingPong<FdEvent>)
      .peer("POCO", pingPong<PocoEvent>);
  addWorker();
  addLock();
}
