#include "qiv/concurrency.h"

#include "cross/system_path.h"
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
/// one cannot take its path before it is gone. Where the folder cannot be locked removals go on
/// without.
class RemovalGuard {
public:
  RemovalGuard() : fd(open(lockFolder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    TEMP_FAILURE_RETRY(flock(fd, LOCK_EX));
  }
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

bool isStale(const char* path) {
  struct stat st;
  return stat(path, &st) == 0 && std::difftime(std::time(nullptr), st.st_mtime) > staleSeconds;
}

bool removeStale(const char* path) {
  if (!isStale(path))
    return false;
  const RemovalGuard guard;
  return isStale(path) && unlink(path) == 0;
}

bool isSameFile(int fd, const char* path) {
  struct stat own;
  struct stat current;
  return fstat(fd, &own) == 0 && lstat(path, &current) == 0 && own.st_dev == current.st_dev &&
         own.st_ino == current.st_ino;
}

} // namespace

CrossprocessLock::CrossprocessLock(const std::string& name, unsigned int retryMicroseconds) {
  mkdir_with_parents(lockFolder().c_str());
  lockPath = lockFolder() + name + ".lock";
  const char* const path = internal::systemPath(lockPath);
  const int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
  while ((fd = TEMP_FAILURE_RETRY(open(path, flags, 0666))) == -1 && errno == EEXIST)
    if (!removeStale(path))
      usleep(retryMicroseconds);
}

CrossprocessLock::~CrossprocessLock() {
  if (!isHeld())
    return;
  {
    const RemovalGuard guard;
    if (isSameFile(fd, lockPath.c_str()))
      unlink(lockPath.c_str());
  }
  close(fd);
}

} // namespace Qiv
