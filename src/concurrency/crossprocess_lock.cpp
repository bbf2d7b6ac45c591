#include "qiv/concurrency.h"

#include "internal/system_path.h"
#include "qiv/files.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace Qiv {

namespace {

constexpr double staleSeconds = 120.0;

const std::string& lockFolder() {
  static const std::string folder = getQivCrossAppCacheDir() + "_Lockers/";
  return folder;
}

/// Keeps others from removing a lock file, so that the file looked at is the file removed: a new
/// one cannot take its path before it is gone. Closes it in the end. Where files cannot be locked
/// removals go on without.
class RemovalGuard {
public:
  explicit RemovalGuard(int fd) : fd(fd) { TEMP_FAILURE_RETRY(flock(fd, LOCK_EX)); }
  ~RemovalGuard() {
    // Closing alone would leave it locked if another thread has forked meanwhile.
    flock(fd, LOCK_UN);
    close(fd);
  }
  RemovalGuard(const RemovalGuard&) = delete;
  RemovalGuard& operator=(const RemovalGuard&) = delete;

private:
  const int fd;
};

bool isSameFile(int fd, const char* path) {
  struct stat own;
  struct stat current;
  return fstat(fd, &own) == 0 && stat(path, &current) == 0 && own.st_dev == current.st_dev &&
         own.st_ino == current.st_ino;
}

bool isStale(const char* path) {
  struct stat st;
  return stat(path, &st) == 0 && std::difftime(std::time(nullptr), st.st_mtime) > staleSeconds;
}

bool removeStale(const char* path) {
  if (!isStale(path))
    return false;
  const int fd = open(path, O_RDWR | O_CLOEXEC);
  if (fd == -1) // a file of another user, which cannot be guarded
    return errno == EACCES && unlink(path) == 0;
  const RemovalGuard guard(fd);
  return isSameFile(fd, path) && isStale(path) && unlink(path) == 0;
}

} // namespace

CrossprocessLock::CrossprocessLock(const std::string& name, unsigned int retryMicroseconds)
    : lockPath(lockFolder() + name + ".lock") {
  const char* const path = internal::systemPath(lockPath);
  const auto create = [path] {
    constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
    return static_cast<int>(TEMP_FAILURE_RETRY(open(path, flags, 0666)));
  };
  fd = create();
  if (!isHeld() && errno != EEXIST) {
    mkdir_with_parents(lockFolder().c_str());
    fd = create();
  }
  while (!isHeld() && errno == EEXIST) {
    if (!removeStale(path))
      usleep(retryMicroseconds);
    fd = create();
  }
}

CrossprocessLock::~CrossprocessLock() {
  if (!isHeld())
    return;
  const RemovalGuard guard(fd);
  if (isSameFile(fd, lockPath.c_str()))
    unlink(lockPath.c_str());
}

} // namespace Qiv
