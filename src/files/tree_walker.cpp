#include "files/tree_walker.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>

namespace Qiv::internal {

namespace {

constexpr std::size_t mostOpenFolders = 8;

unsigned char examine(int folder, const char* name, int flags) {
  struct stat st;
  if (fstatat(folder, name, &st, flags) != 0)
    return DT_UNKNOWN;
  return static_cast<unsigned char>(IFTODT(st.st_mode));
}

} // namespace

FolderChain::Folder FolderChain::open(const char* name, int flags) const {
  Descriptor folder(openat(innermost(), name, access | O_DIRECTORY | O_CLOEXEC | flags));
  struct stat st = {};
  if (folder.get() != -1 && fstat(folder.get(), &st) != 0)
    folder.close();
  return {std::move(folder), st.st_dev, st.st_ino, !(flags & O_NOFOLLOW)};
}

bool FolderChain::holds(const struct stat& st) const {
  const auto isIt = [&](const Folder& folder) { return folder.is(st.st_dev, st.st_ino); };
  return std::any_of(folders.begin(), folders.end(), isIt);
}

bool FolderChain::enter(const char* name, bool throughLinks) {
  Folder folder = open(name, O_NOFOLLOW);
  if (folder.descriptor.get() == -1 && throughLinks && errno == ENOTDIR)
    folder = open(name, 0);
  if (folder.descriptor.get() == -1)
    return false;
  folders.push_back(std::move(folder));
  const std::size_t size = folders.size();
  if (size > mostOpenFolders && !folders[size - mostOpenFolders].linked)
    folders[size - mostOpenFolders - 1].descriptor.close();
  return true;
}

bool FolderChain::reopen(Folder& outer) const {
  Folder found = open("..", O_NOFOLLOW);
  if (found.descriptor.get() == -1)
    return false;
  if (!outer.is(found.device, found.inode)) {
    errno = ESTALE;
    return false;
  }
  outer.descriptor = std::move(found.descriptor);
  return true;
}

bool FolderChain::leave() {
  const std::size_t size = folders.size();
  if (size > 1 && folders[size - 2].descriptor.get() == -1 && !reopen(folders[size - 2]))
    return false;
  folders.pop_back();
  return true;
}

TreeWalker::TreeWalker(const std::string& root) {
  levels.push_back({std::string(1, DT_UNKNOWN) + root + '\0'});
}

TreeWalker::Step TreeWalker::next() {
  if (levels.back().next == levels.back().entries.size()) {
    if (isRoot())
      return Step::done;
    levels.pop_back();
    folderPath.resize(levels.back().pathLength);
    return chain.leave() ? Step::left : Step::lost;
  }
  Level& level = levels.back();
  level.current = level.next;
  level.next += std::strlen(name()) + 2;
  if (type() == DT_UNKNOWN)
    level.entries[level.current] =
        static_cast<char>(examine(folder(), name(), AT_SYMLINK_NOFOLLOW));
  return Step::met;
}

bool TreeWalker::enter(bool throughLinks) {
  std::string inner = path();
  if (!chain.enter(name(), throughLinks))
    return false;
  Level level;
  if (!readFolder(level.entries)) {
    const int reason = errno;
    chain.leave();
    errno = reason;
    return false;
  }
  if (inner.back() != '/')
    inner += '/';
  level.pathLength = inner.size();
  levels.push_back(std::move(level));
  folderPath = std::move(inner);
  return true;
}

unsigned char TreeWalker::typeBehindLinks() const {
  return type() == DT_LNK ? examine(folder(), name(), 0) : type();
}

bool TreeWalker::readFolder(std::string& entries) const {
  alignas(dirent64) char buffer[32768];
  ssize_t size;
  while ((size = getdents64(folder(), buffer, sizeof buffer)) > 0)
    for (ssize_t at = 0; at < size;) {
      const auto& entry = *reinterpret_cast<const dirent64*>(buffer + at);
      at += entry.d_reclen;
      if (std::strcmp(entry.d_name, ".") == 0 || std::strcmp(entry.d_name, "..") == 0)
        continue;
      entries += static_cast<char>(entry.d_type);
      entries.append(entry.d_name, std::strlen(entry.d_name) + 1);
    }
  return size == 0;
}

} // namespace Qiv::internal
