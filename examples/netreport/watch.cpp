#include "watch.h"

#include "texts.h"

#include <csignal>
#include <glib-unix.h>
#include <glibmm/main.h>
#include <iostream>
#include <qiv/concurrency.h>
#include <unistd.h>

namespace {

constexpr unsigned int pauseMilliseconds = 2000;

void showTime(float seconds) {
  static std::int64_t shown = 0;
  const auto whole = static_cast<std::int64_t>(seconds);
  if (whole == shown)
    return;
  shown = whole;
  std::cout << "\r" << texts::running(whole) << std::flush;
}

gboolean quit(void* loop) {
  static_cast<Glib::MainLoop*>(loop)->quit();
  return G_SOURCE_CONTINUE;
}

} // namespace

void watch(const std::function<void()>& look) {
  const bool onTerminal = isatty(STDOUT_FILENO);
  const Glib::RefPtr<Glib::MainLoop> loop = Glib::MainLoop::create();
  const guint interrupted = g_unix_signal_add(SIGINT, &quit, loop.operator->());
  const guint terminated = g_unix_signal_add(SIGTERM, &quit, loop.operator->());

  Qiv::AutoResetEvent ended;
  Qiv::ThreadManager worker;
  worker.start([&] {
    look();
    if (ended.waitOne(pauseMilliseconds))
      ended.set(); // for the next round, if there is still one
  });
  Qiv::Secundomer stopwatch;
  if (onTerminal) {
    stopwatch.signalTimeChanged.connect(&showTime);
    stopwatch.start();
  }

  loop->run();

  g_source_remove(interrupted); // another signal ends a worker that waits
  g_source_remove(terminated);
  ended.set();
  worker.stop();
  if (onTerminal)
    std::cout << "\n";
}
