#include "files/spawn.h"

#include "internal/checked_text.h"
#include "qiv/files.h"

#include <cerrno>
#include <cstring>

namespace Qiv {

internal::Captured internal::spawn(const char* command) {
  Captured captured;
  char** arguments;
  if (!g_shell_parse_argv(command, nullptr, &arguments, nullptr)) {
    captured.systemError = EINVAL;
    return captured;
  }
  captured = captureProgram(arguments);
  g_strfreev(arguments);
  for (std::string* text : {&captured.output, &captured.errors})
    text->resize(std::strlen(text->c_str()));
  return captured;
}

void internal::throwErrors(const char* command, const Captured& captured) {
  if (!captured.errors.empty())
    throw std::string(command) + ": " + captured.errors;
}

bool spawn_command(const char* command_line, char** standard_output) {
  if (!standard_output)
    return false;
  *standard_output = nullptr;
  if (!command_line)
    return false;
  const internal::Captured captured = internal::spawn(command_line);
  if (captured.systemError != 0)
    return false;
  *standard_output = g_strdup(captured.output.c_str());
  return captured.status == 0 && !captured.output.empty();
}

std::string spawnSyncWithThrow(const char* command_line) {
  std::printf("<%s>\n", internal::checkedText(command_line));
  const internal::Captured captured = internal::spawn(command_line);
  if (captured.systemError != 0)
    throw "Error net ifs cmd: " + std::string(command_line) + "\n" +
        std::strerror(captured.systemError);
  std::printf("%d <err:%s>\n<out:%s>\n", captured.status, captured.errors.c_str(),
              captured.output.c_str());
  internal::throwErrors(command_line, captured);
  return captured.output;
}

} // namespace Qiv
