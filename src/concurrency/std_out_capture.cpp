#include "qiv/concurrency.h"

#include "internal/clear_of_streams.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace Qiv {

namespace {

int duplicate(FILE* stream) {
  return fcntl(fileno(stream), F_DUPFD_CLOEXEC, 3);
}

void redirect(int outputFd, int errorsFd) {
  std::fflush(stdout);
  std::fflush(stderr);
  TEMP_FAILURE_RETRY(dup2(outputFd, fileno(stdout)));
  TEMP_FAILURE_RETRY(dup2(errorsFd, fileno(stderr)));
}

} // namespace

StdOutCapture::StdOutCapture() {
  if (pipe2(pipeFds, O_CLOEXEC) == -1)
    return;
  for (std::int32_t& fd : pipeFds)
    fd = internal::clearOfStreams(fd);
  // Only the reading end must not block: a writer that fills the pipe has to wait.
  if (fcntl(pipeFds[0], F_SETFL, O_NONBLOCK) == -1)
    return;
  savedStdout = duplicate(stdout);
  savedStderr = duplicate(stderr);
  ready = savedStdout != -1 && savedStderr != -1;
}

StdOutCapture::~StdOutCapture() {
  endCapture();
  for (const int fd : {savedStdout, savedStderr, pipeFds[0], pipeFds[1]})
    if (fd > 0)
      close(fd);
}

std::string StdOutCapture::getCapture() const {
  const std::size_t last = captured.find_last_not_of("\r\n");
  return last == std::string::npos ? captured : captured.substr(0, last + 1);
}

void StdOutCapture::beginCapture() {
  if (!ready)
    return;
  endCapture();
  redirect(pipeFds[1], pipeFds[1]);
  capturing = true;
}

void StdOutCapture::endCapture() {
  if (!capturing)
    return;
  redirect(savedStdout, savedStderr);
  captured.clear();
  char chunk[1024];
  ssize_t count;
  do {
    count = TEMP_FAILURE_RETRY(read(pipeFds[0], chunk, sizeof chunk));
    if (count > 0)
      captured.append(chunk, static_cast<std::size_t>(count));
  } while (count == sizeof chunk);
  capturing = false;
}

} // namespace Qiv
