#ifndef QIV_INTERNAL_SYSTEM_PATH_H
#define QIV_INTERNAL_SYSTEM_PATH_H

#include <string>

namespace Qiv::internal {

/// The path for a system call. A path with a NUL inside must not reach the file that its beginning
/// names: it becomes the empty path, which names nothing.
inline const char* systemPath(const std::string& path) {
  return path.find('\0') == std::string::npos ? path.c_str() : "";
}

} // namespace Qiv::internal

#endif
