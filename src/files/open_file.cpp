#include "qiv/files.h"

#include "internal/system_path.h"

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <utility>

namespace Qiv {

namespace {

using std::ios_base;

/// The flags of open(2) for a stream's mode, by the table of the C++ standard; -1 where it has
/// none.
int openFlags(ios_base::openmode mode) {
  const bool in = mode & ios_base::in;
  const bool append = mode & ios_base::app;
  const bool truncate = mode & ios_base::trunc;
  const bool out = append || (mode & ios_base::out);
  if (truncate && (append || !out))
    return -1;
  int flags = O_CLOEXEC | (in && out ? O_RDWR : out ? O_WRONLY : O_RDONLY);
  if (append)
    flags |= O_CREAT | O_APPEND;
  else if (out && (truncate || !in))
    flags |= O_CREAT | O_TRUNC;
  return flags;
}

/// A file stream cannot be told to open close-on-exec, so it takes over the buffer of a descriptor.
template <typename Stream>
Stream openStream(const std::string& path, ios_base::openmode mode) {
  Stream stream;
  const int flags = openFlags(mode);
  const int fd = flags == -1 ? -1 : open(internal::systemPath(path), flags, 0666);
  if (fd == -1) {
    stream.setstate(ios_base::failbit);
    return stream;
  }
  __gnu_cxx::stdio_filebuf<char> buffer(fd, mode);
  *stream.rdbuf() = std::move(static_cast<std::filebuf&>(buffer));
  // As fopen does: what appends and reads begins with reading at the start.
  const bool onlyAppends = (mode & (ios_base::app | ios_base::in)) == ios_base::app;
  if (onlyAppends || (mode & ios_base::ate))
    stream.rdbuf()->pubseekoff(0, ios_base::end);
  return stream;
}

} // namespace

std::ofstream openOutputFileUTF8Name(const std::string& path, ios_base::openmode mode) {
  return openStream<std::ofstream>(path, mode | ios_base::out);
}

std::ifstream openInputFileUTF8Name(const std::string& path, ios_base::openmode mode) {
  return openStream<std::ifstream>(path, mode | ios_base::in);
}

FILE* openCOutputFileUTF8Name(const std::string& path) {
  return std::fopen(internal::systemPath(path), "we");
}

FILE* openCInputFileUTF8Name(const std::string& path) {
  return std::fopen(internal::systemPath(path), "re");
}

bool fileExist(const std::string& path) {
  struct stat st;
  return stat(internal::systemPath(path), &st) == 0;
}

} // namespace Qiv

cross::FileInfo::FileInfo(const char* path) : st() {
  if (!path || stat(path, &st) != 0)
    st.st_dev = static_cast<dev_t>(-1);
}
