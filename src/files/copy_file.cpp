#include "files/copy_file.h"

#include "files/tree_walker.h"
#include "internal/write_all.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <linux/limits.h>
#include <string>
#include <sys/xattr.h>

namespace Qiv::internal {

namespace {

/// How many bytes were copied: 0 at the end of the source, -1 on failure.
ssize_t copyPiece(int source, int copy, std::uint64_t most) {
  constexpr std::uint64_t betweenTwoLooksAtCancellation = 16 << 20;
  ssize_t count =
      copy_file_range(source, nullptr, copy, nullptr,
                      static_cast<std::size_t>(std::min(most, betweenTwoLooksAtCancellation)), 0);
  if (count > 0)
    return count;
  // Not every file system can do that, and some claim that a file with content has none.
  char buffer[65536];
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(most, sizeof buffer));
  count = TEMP_FAILURE_RETRY(read(source, buffer, wanted));
  if (count > 0 && !writeAll(copy, {buffer, static_cast<std::size_t>(count)}))
    return -1;
  return count;
}

/// Copies `length` bytes from where both files stand; fewer at the end of the source only.
bool copyBytes(int source, int copy, std::uint64_t length, GCancellable* cancellable) {
  ssize_t count = 1;
  for (; length > 0 && count > 0; length -= static_cast<std::uint64_t>(count)) {
    if (g_cancellable_is_cancelled(cancellable)) {
      errno = ECANCELED;
      return false;
    }
    count = copyPiece(source, copy, length);
  }
  return count >= 0;
}

void copyExtendedAttributes(int source, int copy) {
  if (flistxattr(source, nullptr, 0) <= 0)
    return;
  std::string names(XATTR_LIST_MAX, '\0'), value(XATTR_SIZE_MAX, '\0');
  const ssize_t size = flistxattr(source, names.data(), names.size());
  for (ssize_t at = 0; at < size;) {
    const char* const name = names.c_str() + at;
    at += static_cast<ssize_t>(std::strlen(name)) + 1;
    if (std::strncmp(name, "user.", 5) != 0)
      continue;
    const ssize_t length = fgetxattr(source, name, value.data(), value.size());
    if (length >= 0)
      fsetxattr(copy, name, value.data(), static_cast<std::size_t>(length), 0);
  }
}

/// The bits that let a program run as its owner or its group.
constexpr mode_t ids = S_ISUID | S_ISGID;

bool sameOwners(const struct stat& a, const struct stat& b) {
  return a.st_uid == b.st_uid && a.st_gid == b.st_gid;
}

} // namespace

bool copyContent(int source, int copy, const struct stat& st, GCancellable* cancellable) {
  const bool hasHoles = st.st_blocks < st.st_size / 512;
  off_t end = 0;
  for (off_t start; hasHoles && (start = lseek(source, end, SEEK_DATA)) != -1;) {
    end = lseek(source, start, SEEK_HOLE);
    lseek(source, start, SEEK_SET);
    lseek(copy, start, SEEK_SET);
    if (!copyBytes(source, copy, static_cast<std::uint64_t>(end - start), cancellable))
      return false;
  }
  if (hasHoles && errno == ENXIO) // the rest is a hole
    return ftruncate(copy, std::max(end, st.st_size)) == 0;
  return copyBytes(source, copy, UINT64_MAX, cancellable);
}

void copyAttributes(int source, int copy, const struct stat& st) {
  copyExtendedAttributes(source, copy);
  const timespec times[] = {{0, UTIME_OMIT}, st.st_mtim};
  futimens(copy, times);
  struct stat own;
  const bool keepsIds = (st.st_mode & ids) && fstat(copy, &own) == 0 && sameOwners(own, st);
  fchmod(copy, st.st_mode & (keepsIds ? 07777 : 01777));
}

bool dropForeignIds(int folder, const char* name, const struct stat& source) {
  const Descriptor copy(openat(folder, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat st;
  if (copy.get() == -1 || fstat(copy.get(), &st) != 0)
    return false;
  return !(st.st_mode & ids) || sameOwners(st, source) ||
         chmod(descriptorPath(copy.get()).c_str(), st.st_mode & 01777) == 0;
}

} // namespace Qiv::internal
