#include "files/native_tree.h"

#include "files/copy_file.h"
#include "files/tree_walker.h"

#include <cerrno>
#include <climits>
#include <dirent.h>

namespace Qiv::internal {

namespace {

using Step = TreeWalker::Step;

/// Puts the path in front of an error that has been set. Always false.
bool failedAt(const std::string& path, GError** error) {
  char* const name = g_filename_display_name(path.c_str());
  g_prefix_error(error, "%s: ", name);
  g_free(name);
  return false;
}

/// Tells what errno says of the path. Always false.
bool failed(const std::string& path, GError** error) {
  const int reason = errno;
  g_set_error_literal(error, G_IO_ERROR, g_io_error_from_errno(reason), g_strerror(reason));
  return failedAt(path, error);
}

// ---------------------------------------------------------------------------------------------
// Removal
// ---------------------------------------------------------------------------------------------

/// What has gone meanwhile is fine.
bool unlinkEntry(const TreeWalker& walker, int flags) {
  return unlinkat(walker.folder(), walker.name(), flags) == 0 ||
         (errno == ENOENT && !walker.isRoot());
}

/// Deletes a file, or enters a folder. Either may have taken the other's place since it was listed.
bool removeMet(TreeWalker& walker) {
  if (walker.type() != DT_DIR && unlinkEntry(walker, 0))
    return true;
  if (walker.enter(false))
    return true;
  const int reason = errno;
  if (reason == ENOTDIR)
    return unlinkEntry(walker, 0);
  if (unlinkEntry(walker, AT_REMOVEDIR)) // a closed folder can go when it is empty
    return true;
  errno = reason;
  return false;
}

// ---------------------------------------------------------------------------------------------
// Copying
// ---------------------------------------------------------------------------------------------

/// For GIO, which takes no descriptors.
File fileIn(int folder, const char* name) {
  std::string path;
  if (folder != AT_FDCWD)
    path = descriptorPath(folder) + "/";
  return File(g_file_new_for_path((path + name).c_str()));
}

class Copier {
public:
  Copier(const std::string& source, const std::string& destination, GFileCopyFlags flags,
         GCancellable* cancellable, GError** error)
      : rootLength(source.size()), destination(destination), flags(flags), cancellable(cancellable),
        error(error), walker(source) {}

  bool copyAll() {
    for (Step step; (step = walker.next()) != Step::done;) {
      if (g_cancellable_set_error_if_cancelled(cancellable, error))
        return false;
      if (step == Step::lost || (step == Step::left && !filled.leave()))
        return sourceFailed();
      if (step == Step::met && !copyMet())
        return false;
    }
    return true;
  }

private:
  /// Where the entry that has been met is copied to.
  const char* targetName() const { return walker.isRoot() ? destination.c_str() : walker.name(); }
  std::string targetPath() const { return destination + walker.path().substr(rootLength); }
  bool sourceFailed() const { return failed(walker.path(), error); }
  bool targetFailed() const { return failed(targetPath(), error); }

  bool copyMet() {
    const unsigned char type = walker.typeBehindLinks();
    if (type == DT_DIR)
      return copyFolder();
    if (type != DT_REG)
      return true;
    if (flags & ~G_FILE_COPY_NOFOLLOW_SYMLINKS)
      return copyByGio();
    const bool asLink = walker.type() == DT_LNK && (flags & G_FILE_COPY_NOFOLLOW_SYMLINKS);
    return asLink ? copyLink() : copyFile();
  }

  bool copyFolder() {
    struct stat st;
    if (fstatat(walker.folder(), walker.name(), &st, 0) != 0)
      return sourceFailed();
    if (walker.standsIn(st) || filled.holds(st))
      return true;
    const std::string name = targetName(), path = targetPath();
    if (!walker.enter(walker.type() == DT_LNK))
      return sourceFailed();
    const mode_t mode = flags & G_FILE_COPY_TARGET_DEFAULT_PERMS ? 0777 : S_IRWXU | st.st_mode;
    const bool isNew = mkdirat(filled.innermost(), name.c_str(), mode & 0777) == 0;
    if ((!isNew && errno != EEXIST) || !filled.enter(name.c_str(), !isNew))
      return failed(path, error);
    copyFolderAttributes(st);
    return true;
  }

  void copyFolderAttributes(const struct stat& st) {
    if (flags & ~G_FILE_COPY_NOFOLLOW_SYMLINKS) {
      // Of a linked folder too the mode counts, not the link's, which lets everyone in.
      const auto followed = static_cast<GFileCopyFlags>(flags & ~G_FILE_COPY_NOFOLLOW_SYMLINKS);
      g_file_copy_attributes(fileIn(walker.folder(), "").get(),
                             fileIn(filled.innermost(), "").get(), followed, cancellable, nullptr);
      dropForeignIds(filled.innermost(), ".", st);
      return;
    }
    const Descriptor copy(openat(filled.innermost(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    copyAttributes(walker.folder(), copy.get(), st);
  }

  bool copyFile() {
    const int links = walker.type() == DT_LNK ? 0 : O_NOFOLLOW;
    const Descriptor source(openat(walker.folder(), walker.name(),
                                   O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | links));
    struct stat st;
    if (source.get() == -1 || fstat(source.get(), &st) != 0)
      return sourceFailed();
    return !S_ISREG(st.st_mode) || fillFile(source.get(), st);
  }

  bool fillFile(int source, const struct stat& st) {
    const int folder = filled.innermost();
    Descriptor copy(openat(folder, targetName(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (copy.get() == -1)
      return targetFailed();
    if (copyContent(source, copy.get(), st, cancellable)) {
      copyAttributes(source, copy.get(), st);
      if (copy.close())
        return true;
    }
    targetFailed();
    unlinkat(folder, targetName(), 0);
    return false;
  }

  bool copyLink() {
    char target[PATH_MAX] = "";
    if (readlinkat(walker.folder(), walker.name(), target, sizeof target - 1) == -1)
      return sourceFailed();
    return symlinkat(target, filled.innermost(), targetName()) == 0 || targetFailed();
  }

  bool copyByGio() {
    struct stat st;
    if (fstatat(walker.folder(), walker.name(), &st, 0) != 0)
      return sourceFailed();
    if (!g_file_copy(fileIn(walker.folder(), walker.name()).get(),
                     fileIn(filled.innermost(), targetName()).get(), flags, cancellable, nullptr,
                     nullptr, error))
      return failedAt(targetPath(), error);
    return dropForeignIds(filled.innermost(), targetName(), st) || targetFailed();
  }

  const std::size_t rootLength;
  const std::string& destination;
  const GFileCopyFlags flags;
  GCancellable* const cancellable;
  GError** const error;
  TreeWalker walker;
  FolderChain filled{O_PATH};
};

} // namespace

bool removeNative(const std::string& path, GCancellable* cancellable, GError** error) {
  TreeWalker walker(path);
  for (Step step; (step = walker.next()) != Step::done;) {
    if (g_cancellable_set_error_if_cancelled(cancellable, error))
      return false;
    if (step == Step::lost ||
        !(step == Step::met ? removeMet(walker) : unlinkEntry(walker, AT_REMOVEDIR)))
      return failed(walker.path(), error);
  }
  return true;
}

bool copyNative(const std::string& source, const std::string& destination, GFileCopyFlags flags,
                GCancellable* cancellable, GError** error) {
  return Copier(source, destination, flags, cancellable, error).copyAll();
}

void visitNative(GFile* file, const std::string& path, const std::function<void(GFile*)>& visit,
                 GCancellable* cancellable, GError** error) {
  const auto firstError = [error] { return error && *error ? nullptr : error; };
  TreeWalker walker(path);
  for (Step step; (step = walker.next()) != Step::done;) {
    if (step == Step::left)
      continue;
    const unsigned char type = walker.typeBehindLinks();
    if (step == Step::met && walker.isRoot() && type == DT_REG)
      return visit(file);
    if (g_cancellable_set_error_if_cancelled(cancellable, firstError()))
      return;
    if (step == Step::lost) {
      failed(walker.path(), firstError());
      return;
    }
    if (type == DT_REG)
      visit(File(g_file_resolve_relative_path(file, walker.path().c_str())).get());
    struct stat st;
    if (type == DT_DIR && fstatat(walker.folder(), walker.name(), &st, 0) == 0 &&
        !walker.standsIn(st) && !walker.enter(walker.type() == DT_LNK))
      failed(walker.path(), firstError());
  }
}

} // namespace Qiv::internal
