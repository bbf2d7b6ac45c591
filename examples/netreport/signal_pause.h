#ifndef NETREPORT_SIGNAL_PAUSE_H
#define NETREPORT_SIGNAL_PAUSE_H

#include <csignal>

/// Keeps the signals that end a process from this thread, and from programs that it starts, as long
/// as it lives. What came meanwhile takes effect afterwards.
class SignalPause {
public:
  SignalPause() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
      sigaddset(&ending, signal);
    pthread_sigmask(SIG_BLOCK, &ending, &previous);
  }
  ~SignalPause() { pthread_sigmask(SIG_SETMASK, &previous, nullptr); }
  SignalPause(const SignalPause&) = delete;
  SignalPause& operator=(const SignalPause&) = delete;

private:
  sigset_t previous;
};

#endif
