#include "qiv/concurrency.h"

namespace Qiv {

ThreadManager::~ThreadManager() {
  stop();
}

void ThreadManager::start(const std::function<void()>& work) {
  if (thread.joinable())
    stop();
  {
    const std::lock_guard lock(mutex);
    stopRequested = false;
  }
  thread = std::thread(&ThreadManager::_threadFunc, this, work);
}

void ThreadManager::pause() {
  const std::lock_guard lock(mutex);
  paused = true;
}

void ThreadManager::resume() {
  {
    const std::lock_guard lock(mutex);
    paused = false;
  }
  condition.notify_one();
}

void ThreadManager::stop() {
  {
    const std::lock_guard lock(mutex);
    stopRequested = true;
    paused = false;
  }
  condition.notify_one();
  if (thread.joinable())
    thread.join();
}

void ThreadManager::_threadFunc(const std::function<void()>& work) {
  do {
    if (paused) {
      std::unique_lock lock(mutex);
      condition.wait(lock, [this] { return !paused || stopRequested; });
    }
    work();
  } while (!stopRequested);
}

} // namespace Qiv
