#ifndef QIV_CONCURRENCY_H
#define QIV_CONCURRENCY_H

/// Threads, locks between threads and processes, a stopwatch, signal bookkeeping, diagnostics.
///
///     Qiv::ThreadManager poller;
///     poller.start([&] { readSensor(); arrived.set(); });
///     while (arrived.waitOne(1000)) // an AutoResetEvent
///       show();
///     poller.stop(); // after the round in progress
///
/// AutoResetEvent and CrossprocessLock may be used by any number of threads. A ThreadManager has
/// one controlling thread. Everything that has to do with signals belongs to the thread that made
/// it, normally the one of the user interface.

#include "qiv/export.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <sigc++/connection.h>
#include <sigc++/signal.h>
#include <string>
#include <thread>
#include <typeinfo>
#include <unordered_map>

namespace Qiv {

// ---------------------------------------------------------------------------------------------
// Threads
// ---------------------------------------------------------------------------------------------

/// Calls a function over and over on a thread of its own. A round that has begun always ends:
/// pausing and stopping act between rounds.
///
/// To be controlled by one thread, and never from the function itself: its start or stop would wait
/// for its own end.
class QIV_API ThreadManager {
public:
  ThreadManager() = default;
  /// stop().
  ~ThreadManager();

  /// The worker refers to its manager.
  ThreadManager(const ThreadManager&) = delete;
  ThreadManager& operator=(const ThreadManager&) = delete;

  /// Repeats a copy of `work`. A worker that runs or is paused is stopped first. A pause made while
  /// there is no worker holds: the new one waits for resume before its first round. An exception
  /// that leaves `work`, and an empty `work`, end the process. Throws std::system_error when the
  /// system has no thread to spare.
  void start(const std::function<void()>& work);

  /// Lets the worker wait before its next round. Without a worker, holds for the next one.
  void pause();
  /// Lets a paused worker go on, and undoes a pause that holds for the next one.
  void resume();

  /// Ends the worker after its round and waits for that. A worker that is paused, or that has not
  /// begun yet, still does one round. Without a worker, undoes a pause.
  void stop();

private:
  void _threadFunc(const std::function<void()>& work);

  std::thread thread;
  std::mutex mutex;
  std::condition_variable condition;
  std::atomic<bool> paused{false};        ///< written under the mutex, as the next one
  std::atomic<bool> stopRequested{false}; ///< a round without a pause takes no lock
};

/// The calling thread's name, at most 15 bytes.
class QIV_API ThreadHelper {
public:
  /// Names the calling thread for debuggers and tools. Returns 0, or an error number when nothing
  /// changed: ERANGE for a name of more than 15 bytes, EINVAL for a null one.
  static int setCurrentThreadName(const char* name);
  /// A thread that was given none has the name that its creator had then; the first has that of the
  /// program.
  static std::string getCurrentThreadName();
};

// ---------------------------------------------------------------------------------------------
// Synchronisation
// ---------------------------------------------------------------------------------------------

/// A signal that the first waiter takes. Setting it again before that changes nothing. Any number
/// of threads may use it; none may still wait when it is destroyed.
class QIV_API AutoResetEvent {
public:
  AutoResetEvent() = default;

  /// Waiters refer to it.
  AutoResetEvent(const AutoResetEvent&) = delete;
  AutoResetEvent& operator=(const AutoResetEvent&) = delete;

  /// Looks without taking.
  bool isSet() const;

  /// Sets the event, and wakes one waiter.
  void set();
  /// Takes the event back, if no waiter has it yet.
  void reset();

  /// Waits until the event is set, and clears it.
  void waitOne();
  /// The same for a limited time. It follows the system clock, so setting that moves the end. False
  /// when time ran out.
  bool waitOne(unsigned int milliseconds);

private:
  bool signaled = false;
  mutable std::mutex mutex;
  std::condition_variable condition;
};

/// A lock that one object at a time holds, among all threads and processes of the user that use the
/// same name. It is held from the constructor to the destructor:
///
///     Qiv::CrossprocessLock lock("settings", 10000);
///     if (lock.isHeld())
///       rewriteSettings();
///
/// The lock is the file name + ".lock" in the folder "_Lockers/" of the application's cache folder
/// (qiv/files.h). It may be taken over as soon as that file is dated more than 120 seconds before
/// or after the present time of the system clock, whether or not its holder still lives. So keep it
/// for less. Whoever removes the file, or the folder, lets the next one in.
///
/// Others that lock that file themselves (`flock`, `fcntl`) delay a take-over or release by at most
/// one second. A child made by `fork` that destroys its parent's lock object releases the lock.
/// Code that runs at exit may use locks, too.
class QIV_API CrossprocessLock {
public:
  /// Waits until the lock is free, with `retryMicroseconds` between two looks. Returns without the
  /// lock when its file cannot be created, as in a read-only home, on a full disk, or when the
  /// sub-folder of a name with "/" is missing; also when something that may be taken over cannot be
  /// removed, such as a folder in its place. Throws std::logic_error while HOME is unset.
  CrossprocessLock(const std::string& name, unsigned int retryMicroseconds);
  /// The same, but gives up after `limit` and returns without the lock. 0 looks once.
  CrossprocessLock(const std::string& name, unsigned int retryMicroseconds,
                   std::chrono::milliseconds limit);
  /// Removes the lock's file, unless the lock was not obtained or has been taken over.
  ~CrossprocessLock();

  /// A lock has one holder.
  CrossprocessLock(const CrossprocessLock&) = delete;
  CrossprocessLock& operator=(const CrossprocessLock&) = delete;

  /// False when the lock was not obtained. Does not tell of a take-over.
  bool isHeld() const { return fd != -1; }

private:
  std::string lockPath;
  std::int32_t fd = -1;
};

// ---------------------------------------------------------------------------------------------
// Stopwatch
// ---------------------------------------------------------------------------------------------

/// Measures running time and reports it to the main context that was the default of its thread when
/// the stopwatch was made, whatever else lives there. In a thread that has pushed none
/// (g_main_context_push_thread_default) that is the context of the main thread. Nothing is reported
/// while no main loop runs it.
///
/// Every public member belongs to the thread that runs that main loop. No call waits for it. A slot
/// may call anything, destruction included; one that runs a main loop of its own gets no emissions
/// meanwhile. What it throws goes to the handlers of Glib::add_exception_handler.
///
/// From start to stop a thread keeps a processor core busy. The time follows the system clock: when
/// that is set ahead so is the stopwatch, and when it is set back the stopwatch stands still until
/// the clock is where it was.
class QIV_API Secundomer {
public:
  /// The elapsed seconds, about every 0.1 ms while the stopwatch runs. A main loop that cannot keep
  /// up gets fewer emissions; each carries the time as it is then.
  sigc::signal<void, float> signalTimeChanged;

  /// Stopped, at 0. The thread that constructs it is the one that it reports to.
  Secundomer();
  /// Stops and waits for the thread. Nothing is emitted any more.
  ~Secundomer();

  /// The thread refers to its stopwatch.
  Secundomer(const Secundomer&) = delete;
  Secundomer& operator=(const Secundomer&) = delete;

  /// Resets the time and starts. A stopwatch that runs goes on from 0; one that is paused, or whose
  /// stop the main loop has not seen yet, stays so. Throws std::system_error when the system has no
  /// thread to spare.
  void start();
  /// Time and emissions stand still until stop and another start: there is no resuming.
  void pause();
  /// Keeps the time. The main loop finishes the stop; after that the stopwatch can be started
  /// again.
  void stop();
  /// Sets the time to 0 and changes nothing else.
  void reset();

private:
  class Dispatcher;

  void _threadFunc();
  void _onStop();
  void _onSetTime();

  const std::unique_ptr<Dispatcher> stopDispatcher;
  const std::unique_ptr<Dispatcher> timeDispatcher;
  std::atomic<std::int32_t> state;
  std::unique_ptr<std::thread> thread;
  std::atomic<std::int64_t> elapsedNanoseconds{0};
};

// ---------------------------------------------------------------------------------------------
// Bookkeeping of connections
// ---------------------------------------------------------------------------------------------

/// Owns one connection for each object, so that a view can drop what it subscribed to for an
/// object:
///
///     connections.connect(&model, model.signalChanged.connect(redraw));
///     connections.disconnect(&model); // or destroy `connections`
///
/// Objects are only told apart by their address and may be gone already. Cutting a connection
/// destroys its slot; whatever that does to the dispatcher is harmless. A dispatcher belongs to the
/// thread of its signals.
class QIV_API PointerConnectionsDispatcher {
public:
  PointerConnectionsDispatcher() = default;
  /// Cuts all connections.
  ~PointerConnectionsDispatcher();

  /// A connection has one owner.
  PointerConnectionsDispatcher(const PointerConnectionsDispatcher&) = delete;
  PointerConnectionsDispatcher& operator=(const PointerConnectionsDispatcher&) = delete;

  /// Takes the place of the object's connection, which is cut.
  void connect(const void* object, const sigc::connection& connection);
  /// Nothing happens for an unknown object.
  void disconnect(const void* object);
  /// Cuts what is connected at the moment of the call.
  void disconnectAll();

private:
  std::map<const void*, sigc::connection> connections;
};

/// The same with one connection for each object and name. Names are compared byte by byte.
class QIV_API PointerNamedConnectionsDispatcher {
public:
  PointerNamedConnectionsDispatcher() = default;
  /// Cuts all connections.
  ~PointerNamedConnectionsDispatcher();

  /// A connection has one owner.
  PointerNamedConnectionsDispatcher(const PointerNamedConnectionsDispatcher&) = delete;
  PointerNamedConnectionsDispatcher& operator=(const PointerNamedConnectionsDispatcher&) = delete;

  /// Takes the place of the connection of that object and name, which is cut.
  void connect(const void* object, const std::string& name, const sigc::connection& connection);
  /// Nothing happens for an unknown object or name.
  void disconnect(const void* object, const std::string& name);
  /// Cuts all connections of an object.
  void disconnectObject(const void* object);
  /// Cuts what is connected at the moment of the call.
  void disconnectAll();

private:
  std::unordered_map<const void*, std::unordered_map<std::string, sigc::connection>> connections;
};

// ---------------------------------------------------------------------------------------------
// Diagnostics
// ---------------------------------------------------------------------------------------------

/// Two switches of the process, both off at first: debugging aids and setup mode. They and their
/// signals belong to one thread, normally the one of the user interface.
class QIV_API DebugManager {
public:
  /// Emitted with the new value, in the setter, and only when it changed. They are destroyed when
  /// the process exits.
  /// @{
  static sigc::signal<void, bool> signalEnabledChanged;
  static sigc::signal<void, bool> signalSetupChanged;
  /// @}

  /// True when the switch is on.
  /// @{
  static bool getIsEnabled();
  static bool getSetup();
  /// @}

  /// Turn a switch on or off.
  /// @{
  static void setIsEnabled(bool value);
  static void setSetup(bool value);
  /// @}

private:
  static bool _enabled;
  static bool _setup;
};

/// Catches what the process, all its threads and the children that it starts meanwhile write to
/// standard output and standard error:
///
///     Qiv::StdOutCapture capture;
///     capture.beginCapture();
///     std::puts("hello");
///     capture.endCapture();
///     capture.getCapture(); // "hello"
///
/// For short texts: writing more than a pipe holds between begin and end blocks for ever. That is
/// 64 KiB, and may be 8 KiB for a user with many pipes. Only one capture may be active in a
/// process. Nothing is captured when there were no descriptors to spare, or when an output was
/// closed, as the object was made.
class QIV_API StdOutCapture {
public:
  /// Remembers the outputs of the process, to which endCapture() returns.
  StdOutCapture();
  /// Ends a capture that is active.
  ~StdOutCapture();

  /// Owns descriptors.
  StdOutCapture(const StdOutCapture&) = delete;
  StdOutCapture& operator=(const StdOutCapture&) = delete;

  /// The text of the last capture that ended, without the line ends (`"\r"`, `"\n"`) at its end. A
  /// text of nothing but line ends is whole.
  std::string getCapture() const;

  /// Ends a capture that is active first.
  void beginCapture();
  /// Gives the process back the outputs that it had when this object was made.
  void endCapture();

private:
  bool capturing = false;
  bool ready = false;
  std::int32_t pipeFds[2] = {-1, -1};
  std::int32_t savedStdout = -1;
  std::int32_t savedStderr = -1;
  std::string captured;
};

/// Readable names of types. Safe to call from any thread.
class QIV_API TypeHelper {
public:
  /// As in "Qiv::Secundomer". Throws std::logic_error for a name that the compiler did not make.
  static std::string getTypeName(const std::type_info& type);
  /// Without the namespaces before the name; template arguments keep theirs:
  /// "vector<Qiv::Version, std::allocator<Qiv::Version> >".
  static std::string getShortTypeName(const std::type_info& type);
};

} // namespace Qiv

#endif
