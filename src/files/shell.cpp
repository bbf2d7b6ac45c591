#include "qiv/files.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace cross {

namespace {

struct PipeClose {
  void operator()(FILE* pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, PipeClose>;

FILE* openPipe(const char* command) {
  return command ? popen(command, "re") : nullptr;
}

/// Everything that can still be read from `fd`.
std::string readAll(int fd) {
  std::string text;
  char buffer[65536]; // a pipe holds as much
  for (ssize_t count; (count = read(fd, buffer, sizeof buffer)) != 0;) {
    if (count > 0)
      text.append(buffer, static_cast<std::size_t>(count));
    else if (errno != EINTR)
      break;
  }
  return text;
}

/// The output as a reader of C texts sees it, which takes a line, or 127 bytes of it, at a time: a
/// NUL hides the rest of its piece.
std::string readAsTexts(const std::string& output) {
  constexpr std::size_t longestPiece = 127;
  std::string text;
  for (std::size_t start = 0, end; start < output.size(); start = end) {
    end = std::min({output.find('\n', start), output.size() - 1, start + longestPiece - 1}) + 1;
    text.append(output, start, std::min(output.find('\0', start), end) - start);
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

Popen::Popen(const char* command) : stream(openPipe(command)) {
  Pipe pipe(stream);
  if (!pipe)
    return;
  output = readAll(fileno(stream));
  status = pclose(pipe.release());
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
