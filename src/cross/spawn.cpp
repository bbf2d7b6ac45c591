#include "cross/spawn.h"

#include "qiv/files.h"
#include "text/checked_text.h"

#include <cerrno>
#include <cstring>
#include <memory>

namespace Qiv {

namespace {

struct GFree {
  void operator()(void* memory) const { g_free(memory); }
};
using GText = std::unique_ptr<char, GFree>;

std::string toString(const GText& text) {
  return text ? text.get() : "";
}

} // namespace

internal::Spawned internal::spawn(const char* command) {
  Spawned spawned;
  char* output = nullptr;
  char* errors = nullptr;
  spawned.started = g_spawn_command_line_sync(command, &output, &errors, &spawned.status, nullptr);
  spawned.systemError = errno;
  const GText outputOwner(output);
  const GText errorsOwner(errors);
  spawned.output = toString(outputOwner);
  spawned.errors = toString(errorsOwner);
  return spawned;
}

void internal::throwErrors(const char* command, const Spawned& spawned) {
  if (!spawned.errors.empty())
    throw std::string(command) + ": " + spawned.errors;
}

bool spawn_command(const char* command_line, char** standard_output) {
  if (!standard_output)
    return false;
  *standard_output = nullptr;
  if (!command_line)
    return false;
  char* errors = nullptr;
  int status = 0;
  const bool started =
      g_spawn_command_line_sync(command_line, standard_output, &errors, &status, nullptr);
  g_free(errors);
  return started && status == 0 && *standard_output && **standard_output;
}

std::string spawnSyncWithThrow(const char* command_line) {
  std::printf("<%s>\n", internal::checkedText(command_line));
  internal::Spawned spawned = internal::spawn(command_line);
  if (!spawned.started)
    throw "Error net ifs cmd: " + std::string(command_line) + "\n" +
        std::strerror(spawned.systemError);
  std::printf("%d <err:%s>\n<out:%s>\n", spawned.status, spawned.errors.c_str(),
              spawned.output.c_str());
  internal::throwErrors(command_line, spawned);
  return spawned.output;
}

} // namespace Qiv
