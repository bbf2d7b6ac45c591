#ifndef QIV_FILES_DESCRIPTOR_H
#define QIV_FILES_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace Qiv::internal {

/// Closes a descriptor; AT_FDCWD and -1 are none.
class Descriptor {
public:
  explicit Descriptor(int fd = -1) : fd(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
  Descriptor& operator=(Descriptor other) noexcept { return std::swap(fd, other.fd), *this; }
  ~Descriptor() { close(); }

  int get() const { return fd; }
  bool close() { return fd < 0 || ::close(std::exchange(fd, -1)) == 0; }

private:
  int fd;
};

} // namespace Qiv::internal

#endif
