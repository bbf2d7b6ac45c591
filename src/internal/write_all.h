#ifndef QIV_INTERNAL_WRITE_ALL_H
#define QIV_INTERNAL_WRITE_ALL_H

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <unistd.h>

namespace Qiv::internal {

/// Writes all bytes, with one call where the system takes them at once. False with errno set when
/// some could not be written.
inline bool writeAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written == -1 && errno != EINTR)
      return false;
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
  return true;
}

} // namespace Qiv::internal

#endif
