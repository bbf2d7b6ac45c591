/// A worker reports to its owner; a lock keeps other processes out meanwhile.

#include <atomic>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <qiv/concurrency.h>

namespace {

/// Lets a worker count to three, one round for each question.
void count() {
  std::atomic<int> counted{0};
  Qiv::AutoResetEvent asked, answered;
  Qiv::ThreadManager worker;
  worker.start([&] {
    if (!asked.waitOne(100)) // short, so that stop() need not wait for long
      return;
    ++counted;
    answered.set();
  });
  for (int i = 0; i < 3; ++i) {
    asked.set();
    answered.waitOne();
    std::cout << "counted " << counted << "\n";
  }
} // the worker ends here, after its round

/// What `print` writes to standard output and standard error.
std::string capture(const std::function<void()>& print) {
  Qiv::StdOutCapture output;
  output.beginCapture();
  print();
  output.endCapture();
  return output.getCapture();
}

/// A view that follows one model at a time.
void follow() {
  sigc::signal<void, int> changed;
  Qiv::PointerNamedConnectionsDispatcher connections;
  for (const char* view : {"first", "second"})
    connections.connect(&changed, "view", changed.connect([view](int value) {
      std::cout << view << " view shows " << value << "\n";
    }));
  changed.emit(42); // the second connection has replaced the first
  connections.disconnectObject(&changed);
  changed.emit(43); // nobody looks any more
}

} // namespace

int main() {
  const Qiv::CrossprocessLock lock("qiv-example", 10000);
  std::cout << (lock.isHeld() ? "locked\n" : "no lock file\n");
  const Qiv::CrossprocessLock second("qiv-example", 10000, std::chrono::milliseconds(50));
  std::cout << (second.isHeld() ? "locked twice\n" : "gave up after 50 ms\n");
  count();
  follow();
  std::cout << "captured: " << capture([] { std::puts("hello"); }) << "\n";
  std::cout << Qiv::TypeHelper::getShortTypeName(typeid(lock)) << "\n";
}
