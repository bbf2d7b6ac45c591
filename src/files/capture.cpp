#include "files/capture.h"

#include "files/descriptor.h"
#include "internal/clear_of_streams.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <glib.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

namespace Qiv::internal {

namespace {

/// Its ends must not stand where the child's own standard descriptors will, nor where other threads
/// of this process print.
struct Pipe {
  Descriptor reading, writing;

  bool open() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
      return false;
    reading = Descriptor(clearOfStreams(ends[0]));
    writing = Descriptor(clearOfStreams(ends[1]));
    return reading.get() > STDERR_FILENO && writing.get() > STDERR_FILENO;
  }
};

/// Is waited for even when an exception ends the reading.
class Child {
public:
  Child() = default;
  Child(Child&&) = delete;
  ~Child() { wait(); }

  int wait() {
    int status = -1;
    if (id > 0)
      TEMP_FAILURE_RETRY(waitpid(id, &status, 0));
    id = 0;
    return status;
  }

  pid_t id = 0;
};

/// With a pipe for its errors a program gets nothing else of ours. Returns an errno.
int start(Child& child, const char* const arguments[], const Pipe& output, const Pipe& errors) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_adddup2(&actions, output.writing.get(), STDOUT_FILENO);
  if (errors.writing.get() != -1) {
    posix_spawn_file_actions_adddup2(&actions, errors.writing.get(), STDERR_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    sigset_t brokenPipe; // which this process may ignore
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &brokenPipe);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  }
  const int failure = posix_spawnp(&child.id, arguments[0], &actions, &attributes,
                                   const_cast<char* const*>(arguments), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return failure;
}

void readBoth(int output, int errors, Captured& captured) {
  pollfd ends[] = {{output, POLLIN, 0}, {errors, POLLIN, 0}}; // poll passes over -1
  std::string* const texts[] = {&captured.output, &captured.errors};
  char buffer[65536]; // a pipe holds as much
  while (ends[0].fd != -1 || ends[1].fd != -1) {
    if (poll(ends, 2, -1) == -1)
      continue;
    for (int i : {0, 1}) {
      if (ends[i].fd == -1 || !ends[i].revents)
        continue;
      const ssize_t count = TEMP_FAILURE_RETRY(read(ends[i].fd, buffer, sizeof buffer));
      if (count > 0)
        texts[i]->append(buffer, static_cast<std::size_t>(count));
      else
        ends[i].fd = -1;
    }
  }
}

Captured capture(const char* const arguments[], bool withErrors) {
  Captured captured;
  Child child;
  Pipe output, errors;
  if (!output.open() || (withErrors && !errors.open()))
    captured.systemError = errno;
  else
    captured.systemError = start(child, arguments, output, errors);
  if (captured.systemError != 0)
    return captured;
  output.writing.close();
  errors.writing.close();
  readBoth(output.reading.get(), errors.reading.get(), captured);
  captured.status = child.wait();
  return captured;
}

} // namespace

Captured captureShell(const char* command) {
  const char* const arguments[] = {"/bin/sh", "-c", "--", command, nullptr};
  return capture(arguments, false);
}

Captured captureProgram(const char* const arguments[]) {
  Captured captured = capture(arguments, true);
  if (captured.systemError != ENOEXEC)
    return captured;
  // A script that does not name its interpreter.
  char* const script = g_find_program_in_path(arguments[0]);
  std::vector<const char*> line = {"/bin/sh", script};
  do
    line.push_back(*++arguments);
  while (*arguments);
  captured = capture(line.data(), true);
  g_free(script);
  return captured;
}

} // namespace Qiv::internal
