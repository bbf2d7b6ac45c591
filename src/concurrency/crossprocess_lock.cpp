#include "qiv/concurrency.h"

#include "internal/clear_of_streams.h"
#include "internal/system_path.h"
#include "qiv/files.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Qiv {

namespace {

using Microseconds = std::chrono::duration<double, std::micro>;

constexpr double staleSeconds = 120.0;

/// Never destroyed: what runs at exit may need a lock.
const std::string& lockFolder() {
  static const std::string& folder = *new std::string(getQivCrossAppCacheDir() + "_Lockers/");
  return folder;
}

/// Keeps others from removing a lock file, so that the file looked at is the file removed: a new
/// one cannot take its path before it is gone. Locks of the open file description are not those of
/// `flock`, so whoever uses that on a lock file is not in the way. Whoever is in the way for a
/// second is none of us and passed over. Closes the file in the end.
class RemovalGuard {
public:
  explicit RemovalGuard(int fd) : fd(fd) {
    for (int i = 0; i < 1000 && !set(F_WRLCK, LOCK_EX) && errno == EAGAIN; ++i)
      usleep(1000);
  }
  ~RemovalGuard() {
    // Closing alone would leave it locked if another thread has forked meanwhile.
    set(F_UNLCK, LOCK_UN);
    close(fd);
  }
  RemovalGuard(const RemovalGuard&) = delete;
  RemovalGuard& operator=(const RemovalGuard&) = delete;

private:
  /// A folder, which cannot be open for writing, knows `flock` only.
  bool set(short type, int folderOperation) const {
    struct flock whole = {};
    whole.l_type = type;
    return fcntl(fd, F_OFD_SETLK, &whole) == 0 ||
           (errno == EBADF && flock(fd, folderOperation | LOCK_NB) == 0);
  }

  const int fd;
};

bool isSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isStale(const struct stat& file) {
  return std::abs(std::difftime(std::time(nullptr), file.st_mtime)) > staleSeconds;
}

/// False when nobody can remove what is there, such as a folder.
bool removeStale(const char* path, const struct stat& stale) {
  int fd = open(path, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd == -1) // a link, or a file of another user: the folder is locked in its place
    fd = open(lockFolder().c_str(), O_RDONLY | O_CLOEXEC);
  const RemovalGuard guard(fd);
  struct stat current;
  if (lstat(path, &current) != 0 || !isSameFile(current, stale) || !isStale(current))
    return true;
  return unlink(path) == 0 || errno == ENOENT;
}

/// Removes a stale file or lets a pause go by. False when time is up or nobody can remove the file.
bool makeWay(const char* path, Microseconds pause, Microseconds left) {
  struct stat other;
  if (lstat(path, &other) == 0 && isStale(other))
    return removeStale(path, other);
  if (left.count() <= 0)
    return false;
  usleep(static_cast<useconds_t>(std::min(pause, left).count()));
  return true;
}

/// A folder that is missing is made, again and again if something removes it all the time.
int createFile(const char* path, const std::string& folder) {
  const auto create = [path] {
    constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
    return static_cast<int>(TEMP_FAILURE_RETRY(open(path, flags, 0666)));
  };
  int fd = create();
  for (int i = 0; fd == -1 && errno == ENOENT && i < 20; ++i) {
    mkdir_with_parents(folder.c_str());
    fd = create();
  }
  return internal::clearOfStreams(fd);
}

} // namespace

CrossprocessLock::CrossprocessLock(const std::string& name, unsigned int retryMicroseconds)
    : CrossprocessLock(name, retryMicroseconds, std::chrono::milliseconds::max()) {}

CrossprocessLock::CrossprocessLock(const std::string& name, unsigned int retryMicroseconds,
                                   std::chrono::milliseconds limit)
    : lockPath(lockFolder() + name + ".lock") {
  const auto start = std::chrono::steady_clock::now();
  const auto left = [&] { return limit - Microseconds(std::chrono::steady_clock::now() - start); };
  const char* const path = internal::systemPath(lockPath);
  fd = createFile(path, lockFolder());
  while (!isHeld() && errno == EEXIST && makeWay(path, Microseconds(retryMicroseconds), left()))
    fd = createFile(path, lockPath.substr(0, lockPath.rfind('/'))); // a folder that was there
}

CrossprocessLock::~CrossprocessLock() {
  if (!isHeld())
    return;
  const RemovalGuard guard(fd);
  struct stat own;
  struct stat current;
  if (fstat(fd, &own) == 0 && lstat(lockPath.c_str(), &current) == 0 && isSameFile(own, current))
    unlink(lockPath.c_str());
}

} // namespace Qiv
