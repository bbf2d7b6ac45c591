#include "files/capture.h"
#include "qiv/files.h"

#include <algorithm>
#include <cstring>
#include <sys/wait.h>
#include <utility>

namespace cross {

namespace {

using Qiv::internal::Captured;
using Qiv::internal::captureShell;

/// What Popen::stream points at: good for telling that there was one.
FILE closedStream; // NOLINT(misc-non-copyable-objects): only its address is used

/// The output as a reader of C texts sees it, which takes a line, or 127 bytes of it, at a time: a
/// NUL hides the rest of its piece.
std::string readAsTexts(const std::string& output) {
  constexpr std::size_t longestPiece = 127;
  std::string text;
  for (std::size_t start = 0; start < output.size();) {
    const char* const piece = output.data() + start;
    const std::size_t most = std::min(longestPiece, output.size() - start);
    const void* const lineEnd = std::memchr(piece, '\n', most);
    const std::size_t size = lineEnd ? static_cast<const char*>(lineEnd) - piece + 1 : most;
    text.append(piece, strnlen(piece, size));
    start += size;
  }
  return text;
}

int decodeExit(int status) {
  if (WIFEXITED(status))
    return WEXITSTATUS(status);
  if (WIFSIGNALED(status))
    return WTERMSIG(status);
  return WIFSTOPPED(status) ? WSTOPSIG(status) : status;
}

} // namespace

Popen::Popen(const char* command) : stream(nullptr) {
  if (!command)
    return;
  Captured captured = captureShell(command);
  if (captured.systemError != 0)
    return;
  stream = &closedStream;
  output = std::move(captured.output);
  status = captured.status;
  exitCode = decodeExit(status);
}

std::string execPipe(const char* command) {
  return Popen(command).output;
}

std::string exec(const char* command) {
  std::string result = readAsTexts(Popen(command).output);
  if (!result.empty() && result.back() == '\n')
    result.pop_back();
  return result;
}

} // namespace cross
