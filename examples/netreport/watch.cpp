#include "watch.h"

#include "texts.h"

#include <chrono>
#include <csignal>
#include <glib-unix.h>
#include <glibmm/main.h>
#include <iostream>
#include <qiv/concurrency.h>
#include <qiv/log.h>

namespace {

using Clock = std::chrono::system_clock;

constexpr unsigned int pauseMilliseconds = 2000;

void showTime(float seconds) {
  static long shown = 0;
  const auto whole = static_cast<long>(seconds);
  if (whole == shown)
    return;
  shown = whole;
  const Clock::time_point start;
  std::cout << "\r" << texts::running() << " "
            << Qiv::DateTimeHelper::getDisplayDurationString(
                   start, start + std::chrono::seconds(whole), "%02d:%02d:%02d")
            << std::flush;
}

gboolean quit(void* loop) {
  static_cast<Glib::MainLoop*>(loop)->quit();
  return G_SOURCE_CONTINUE;
}

} // namespace

void watch(const std::function<void()>& look) {
  const Glib::RefPtr<Glib::MainLoop> loop = Glib::MainLoop::create();
  const guint interrupt = g_unix_signal_add(SIGINT, &quit, loop.operator->());

  Qiv::AutoResetEvent ended;
  Qiv::ThreadManager worker;
  worker.start([&] {
    if (ended.waitOne(pauseMilliseconds))
      ended.set(); // for the next round, if there is still one
    else
      look();
  });
  Qiv::Secundomer stopwatch;
  stopwatch.signalTimeChanged.connect(&showTime);
  stopwatch.start();

  loop->run();

  g_source_remove(interrupt); // another Ctrl-C ends a worker that waits
  ended.set();
  worker.stop();
  std::cout << "\n";
}
