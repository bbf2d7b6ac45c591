#include "files/tree_walker.h"

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

std::vector<FolderChain::Folder> FolderChain::outermost() {
  std::vector<Folder> folders;
  folders.push_back({Descriptor(AT_FDCWD), 0, 0, true});
  return folders;
}

FolderChain::Folder FolderChain::open(const char* name, int flags) const {
  Descriptor folder(openat(innermost(), name, access | O_DIRECTORY | O_CLOEXEC | flags));
  struct stat st = {};
  if (folder.get() != -1 && fstat(folder.get(), &st) != 0)
    folder.close();
  return {std::move(folder), st.st_dev, st.st_ino, !(flags & O_NOFOLLOW)};
}

bool FolderChain::holds(const struct stat& st) const {
  for (std::size_t i = 1; i < folders.size(); ++i)
    if (folders[i].inode == st.st_ino && folders[i].device == st.st_dev)
      return true;
  return false;
}

bool FolderChain::enter(const char* name, bool throughLinks) {
  Folder folder = open(name, O_NOFOLLOW);
  if (folder.descriptor.get() == -1 && throughLinks && errno == ENOTDIR)
    folder = open(name, 0);
  if (folder.descriptor.get() == -1)
    return false;
  folders.push_back(std::move(folder));
  if (depth() > mostOpenFolders && !folders[depth() - mostOpenFolders + 1].linked)
    folders[depth() - mostOpenFolders].descriptor.close();
  return true;
}

bool FolderChain::reopenOuter() {
  Folder& outer = folders[depth() - 1];
  Folder found = open("..", O_NOFOLLOW);
  if (found.descriptor.get() == -1)
    return false;
  if (found.inode != outer.inode || found.device != outer.device) {
    errno = ESTALE;
    return false;
  }
  outer.descriptor = std::move(found.descriptor);
  return true;
}

bool FolderChain::leave() {
  if (folders[depth() - 1].descriptor.get() == -1 && !reopenOuter())
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
  if (inner == "/")
    inner.clear();
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
