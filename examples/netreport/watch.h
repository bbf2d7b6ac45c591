#ifndef NETREPORT_WATCH_H
#define NETREPORT_WATCH_H

#include <functional>

/// Calls `look` on a thread of its own, again and again with two seconds between, until Ctrl-C or
/// SIGTERM. Meanwhile the main loop of this thread keeps the running time on the last line of the
/// terminal, if there is one.
void watch(const std::function<void()>& look);

#endif
