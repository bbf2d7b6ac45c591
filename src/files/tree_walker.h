#ifndef QIV_FILES_TREE_WALKER_H
#define QIV_FILES_TREE_WALKER_H

/// Walks over file trees by descriptors: whoever renames, swaps or links folders meanwhile cannot
/// lead a walk out of the tree, and neither the length of a path nor the depth of a tree matters.

#include "files/descriptor.h"

#include <cstddef>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace Qiv::internal {

/// A path to what is open, for what cannot be told about a descriptor.
inline std::string descriptorPath(int fd) {
  return "/proc/self/fd/" + std::to_string(fd);
}

/// The folders from the first one down to where a walk stands. At most eight of them are open, and
/// those in which a link was entered; the others come back through "..".
class FolderChain {
public:
  /// `access` is O_RDONLY, or O_PATH where folders need not be readable.
  explicit FolderChain(int access) : access(access) {}

  /// AT_FDCWD before the first folder.
  int innermost() const { return folders.empty() ? AT_FDCWD : folders.back().descriptor.get(); }
  /// Whether a folder of the chain is the one that `st` describes.
  bool holds(const struct stat& st) const;

  /// Both are false with errno set when they fail.
  bool enter(const char* name, bool throughLinks);
  bool leave();

private:
  struct Folder {
    bool is(dev_t otherDevice, ino_t otherInode) const {
      return inode == otherInode && device == otherDevice;
    }

    Descriptor descriptor;
    dev_t device;
    ino_t inode;
    bool linked; ///< so that ".." leads elsewhere
  };

  Folder open(const char* name, int flags) const;
  bool reopen(Folder& outer) const;

  const int access;
  std::vector<Folder> folders;
};

/// Steps through a tree. Each folder is read at once when it is entered.
class TreeWalker {
public:
  enum class Step {
    met,  ///< an entry, at first the root itself
    left, ///< a folder that has been entered, after its last entry
    lost, ///< errno says why the way back out of a folder is gone
    done
  };

  explicit TreeWalker(const std::string& root);

  Step next();
  /// Goes on with what the folder holds that has just been met; false with errno set.
  bool enter(bool throughLinks);

  /// Of the entry: where it is, its name there, its DT_ type, and that of what a link leads to.
  int folder() const { return chain.innermost(); }
  const char* name() const { return levels.back().entries.c_str() + levels.back().current + 1; }
  unsigned char type() const {
    return static_cast<unsigned char>(levels.back().entries[levels.back().current]);
  }
  unsigned char typeBehindLinks() const;
  bool isRoot() const { return levels.size() == 1; }
  std::string path() const { return folderPath + name(); }

  bool standsIn(const struct stat& st) const { return chain.holds(st); }

private:
  struct Level {
    std::string entries;        ///< of each its type and its name, ended by a NUL
    std::size_t pathLength = 0; ///< of the folder
    std::size_t current = 0;
    std::size_t next = 0;
  };

  bool readFolder(std::string& entries) const;

  FolderChain chain{O_RDONLY};
  std::vector<Level> levels;
  std::string folderPath; ///< with the slash behind it
};

} // namespace Qiv::internal

#endif
