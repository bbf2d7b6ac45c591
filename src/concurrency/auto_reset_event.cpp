#include "qiv/concurrency.h"

#include <chrono>

namespace Qiv {

bool AutoResetEvent::isSet() const {
  const std::lock_guard lock(mutex);
  return signaled;
}

void AutoResetEvent::set() {
  const std::lock_guard lock(mutex);
  signaled = true;
  condition.notify_one();
}

void AutoResetEvent::reset() {
  const std::lock_guard lock(mutex);
  signaled = false;
}

void AutoResetEvent::waitOne() {
  std::unique_lock lock(mutex);
  condition.wait(lock, [this] { return signaled; });
  signaled = false;
}

bool AutoResetEvent::waitOne(unsigned int milliseconds) {
  std::unique_lock lock(mutex);
  const auto deadline = std::chrono::system_clock::now() + std::chrono::milliseconds(milliseconds);
  const bool taken = condition.wait_until(lock, deadline, [this] { return signaled; });
  if (taken)
    signaled = false;
  return taken;
}

} // namespace Qiv
