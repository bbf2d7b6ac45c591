#ifndef QIV_INTERNAL_CLEAR_OF_STREAMS_H
#define QIV_INTERNAL_CLEAR_OF_STREAMS_H

#include <fcntl.h>
#include <unistd.h>

namespace Qiv::internal {

/// The descriptor, or in place of 0 to 2 another one: in a process that has closed those a new file
/// would become its standard output.
inline int clearOfStreams(int fd) {
  if (fd < 0 || fd > 2)
    return fd;
  const int clear = fcntl(fd, F_DUPFD_CLOEXEC, 3);
  if (clear == -1)
    return fd;
  close(fd);
  return clear;
}

} // namespace Qiv::internal

#endif
