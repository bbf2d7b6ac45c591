// Events, the worker, the lock file.

#include "bench.h"

#include <Poco/Event.h>
#include <fcntl.h>
#include <qiv/concurrency.h>
#include <unistd.h>

namespace {

struct ConditionEvent {
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
  std::mutex mutex;
  std::condition_variable condition;
  bool isSet = false;
};

struct PocoEvent : Poco::Event {
  void waitOne() { wait(); }
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

constexpr int workerRounds = 100000;

void repeatByManager() {
  Qiv::AutoResetEvent ended;
  Qiv::ThreadManager manager;
  manager.start([&, count = 0]() mutable {
    if (++count == workerRounds)
      ended.set();
  });
  ended.waitOne();
}

void repeatByHand() {
  std::mutex mutex;
  std::condition_variable condition;
  bool paused = false;
  std::thread([&] {
    for (int count = 0; count < workerRounds; ++count) {
      std::unique_lock lock(mutex);
      condition.wait(lock, [&] { return !paused; });
    }
  }).join();
}

} // namespace

void bench::addConcurrency() {
  Row("event ping-pong between threads, 1,000 rounds", 1.4, pingPong<Qiv::AutoResetEvent>)
      .peer("condition variable", pingPong<ConditionEvent>)
      .peer("POCO", pingPong<PocoEvent>);
  Row("worker, 100,000 rounds", 1, repeatByManager)
      .peer("mutex and condition by hand", repeatByHand);
  const std::string path = scratchFolder() + ".cache/QivCross/_Lockers/bare.lock";
  Row("lock file taken and released", 1.15, [] {
    return Qiv::CrossprocessLock("bench", 1000).isHeld();
  }).peer("open O_EXCL, close, unlink", [=] {
    close(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    unlink(path.c_str());
  });
}
