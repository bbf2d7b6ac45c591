#include "files/spawn.h"

#include "internal/checked_text.h"
#include "qiv/files.h"

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

/// g_spawn_command_line_sync, but with capture pipes that programs started meanwhile by other
/// threads do not inherit: the capture would wait for their end.
bool run(const char* command, char** output, char** errors, int* status) {
  char** parsed;
  if (!g_shell_parse_argv(command, nullptr, &parsed, nullptr))
    return false;
  const std::unique_ptr<char*, decltype(&g_strfreev)> arguments(parsed, &g_strfreev);
  constexpr auto flags = static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_CLOEXEC_PIPES);
  return g_spawn_sync(nullptr, parsed, nullptr, flags, nullptr, nullptr, output, errors, status,
                      nullptr);
}

} // namespace

internal::Spawned internal::spawn(const char* command, int* status) {
  Spawned spawned;
  char* output = nullptr;
  char* errors = nullptr;
  spawned.started = run(command, &output, &errors, status);
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
  const bool started = run(command_line, standard_output, &errors, &status);
  g_free(errors);
  return started && status == 0 && *standard_output && **standard_output;
}

std::string spawnSyncWithThrow(const char* command_line) {
  std::printf("<%s>\n", internal::checkedText(command_line));
  int status = 0;
  internal::Spawned spawned = internal::spawn(command_line, &status);
  if (!spawned.started)
    throw "Error net ifs cmd: " + std::string(command_line) + "\n" +
        std::strerror(spawned.systemError);
  std::printf("%d <err:%s>\n<out:%s>\n", status, spawned.errors.c_str(), spawned.output.c_str());
  internal::throwErrors(command_line, spawned);
  return spawned.output;
}

} // namespace Qiv
