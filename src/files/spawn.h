#ifndef QIV_FILES_SPAWN_H
#define QIV_FILES_SPAWN_H

#include <string>

namespace Qiv::internal {

/// What a command left behind. GLib gives no lengths: a NUL that was printed ends the text.
struct Spawned {
  bool started = false;
  int systemError = 0; ///< errno as it stood after the start
  std::string output;
  std::string errors;
};

/// Runs `command` to its end without a shell. `status` may be null.
Spawned spawn(const char* command, int* status);

/// Throws the std::string "command: errors" if the command wrote to standard error.
void throwErrors(const char* command, const Spawned& spawned);

} // namespace Qiv::internal

#endif
