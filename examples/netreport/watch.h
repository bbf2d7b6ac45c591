#ifndef NETREPORT_WATCH_H
#define NETREPORT_WATCH_H

#include <functional>

/// Calls `look` on a thread of its own every two seconds until Ctrl-C. Meanwhile the main loop of
/// this thread keeps the running time on the last line of the terminal.
void watch(const std::function<void()>& look);

#endif
