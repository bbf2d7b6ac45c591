#include "qiv/files.h"

#include "files/copy_file.h"
#include "files/native_tree.h"
#include "internal/system_path.h"

#include <fcntl.h>
#include <utility>
#include <vector>

namespace Qiv {

namespace {

// Native files are the matter of native_tree.cpp. What follows is for names that only GIO knows.

using internal::File;
using internal::Unref;
using Folder = std::unique_ptr<GFileEnumerator, Unref>;

struct Item {
  std::string name; ///< in the file system's own bytes
  GFileType type;

  File in(GFile* folder) const { return File(g_file_get_child(folder, name.c_str())); }
};

/// All that a walk asks of files: GIO would have to examine each of them for more.
constexpr const char* nameAndType = "standard::name,standard::type";
constexpr GFileQueryInfoFlags following = G_FILE_QUERY_INFO_NONE;
constexpr GFileQueryInfoFlags notFollowing = G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS;

using Info = std::unique_ptr<GFileInfo, Unref>;

/// Unknown when there is nothing to examine.
GFileType typeOf(GFile* file, GFileQueryInfoFlags flags) {
  const Info info(g_file_query_info(file, nameAndType, flags, nullptr, nullptr));
  return info ? g_file_info_get_file_type(info.get()) : G_FILE_TYPE_UNKNOWN;
}

/// The same for every name of a folder, empty where the file system has none.
std::string identify(GFile* folder) {
  const Info info(g_file_query_info(folder, "id::file", following, nullptr, nullptr));
  const char* const id = info ? g_file_info_get_attribute_string(info.get(), "id::file") : nullptr;
  return id ? id : "";
}

/// The folders in which a walk stands and those that it fills, the innermost first. A link may lead
/// back to one of them.
struct Trail {
  const Trail* outer;
  const std::string walked;
  const std::string filled;
};

bool holds(const Trail* trail, const std::string& id) {
  for (; trail && !id.empty(); trail = trail->outer)
    if (id == trail->walked || id == trail->filled)
      return true;
  return false;
}

/// Null for a path that names nothing: GIO would take the empty name for the working folder, and
/// the home of a user whom it does not know for the caller's own.
File parseName(const std::string& path) {
  const std::string name = internal::systemPath(path);
  const bool isFileName = name[0] == '~' && name.size() > 1 && name[1] != '/';
  if (name.empty())
    return nullptr;
  return File(isFileName ? g_file_new_for_path(name.c_str()) : g_file_parse_name(name.c_str()));
}

/// Null for what only GIO knows; with GVfs even that may have a path.
const char* nativePath(GFile* file) {
  return g_file_is_native(file) ? g_file_peek_path(file) : nullptr;
}

Folder openFolder(GFile* file, GFileQueryInfoFlags flags, GCancellable* cancellable,
                  GError** error) {
  return Folder(g_file_enumerate_children(file, nameAndType, flags, cancellable, error));
}

/// Appends all of the folder to `children` and closes it, before the caller goes deeper: however
/// deep a tree is, one descriptor is enough for it.
bool readFolder(Folder folder, std::vector<Item>& children, GCancellable* cancellable,
                GError** error) {
  GError* failure = nullptr;
  while (const Info info{g_file_enumerator_next_file(folder.get(), cancellable, &failure)})
    children.push_back({g_file_info_get_name(info.get()), g_file_info_get_file_type(info.get())});
  if (failure)
    g_propagate_error(error, failure);
  return !failure;
}

/// GLib itself would only print a warning.
bool isGiven(GFile* file, GError** error) {
  if (!file)
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_INVALID_ARGUMENT, "No file given");
  return file;
}

gboolean removeTree(GFile* file, GFileType type, GCancellable* cancellable, GError** error) {
  // The enumerator would open a linked folder in spite of its flag, so only a real one is tried.
  if (type == G_FILE_TYPE_DIRECTORY) {
    std::vector<Item> children;
    Folder folder = openFolder(file, notFollowing, cancellable, nullptr);
    if (folder && !readFolder(std::move(folder), children, cancellable, error))
      return FALSE;
    for (const Item& child : children)
      if (!removeTree(child.in(file).get(), child.type, cancellable, error))
        return FALSE;
  }
  return g_file_delete(file, cancellable, error);
}

/// Whose program a copied one was is not known, so it runs as nobody else.
gboolean copyFile(GFile* source, GFile* destination, GFileCopyFlags flags,
                  GCancellable* cancellable, GError** error) {
  struct stat unknown = {};
  unknown.st_uid = static_cast<uid_t>(-1);
  if (!g_file_copy(source, destination, flags, cancellable, nullptr, nullptr, error))
    return FALSE;
  if (const char* const path = nativePath(destination))
    internal::dropForeignIds(AT_FDCWD, path, unknown);
  return TRUE;
}

gboolean copyTree(GFile* source, GFileType type, GFile* destination, GFileCopyFlags flags,
                  const Trail* trail, GCancellable* cancellable, GError** error) {
  if (type == G_FILE_TYPE_REGULAR)
    return copyFile(source, destination, flags, cancellable, error);
  if (type != G_FILE_TYPE_DIRECTORY)
    return TRUE;
  const std::string id = identify(source);
  if (holds(trail, id))
    return TRUE;

  g_file_make_directory(destination, cancellable, nullptr);
  // Of a linked folder too the mode counts, not the link's, which lets everyone in.
  const auto followed = static_cast<GFileCopyFlags>(flags & ~G_FILE_COPY_NOFOLLOW_SYMLINKS);
  g_file_copy_attributes(source, destination, followed, cancellable, nullptr);
  std::vector<Item> children;
  Folder folder = openFolder(source, following, cancellable, error);
  if (!folder || !readFolder(std::move(folder), children, cancellable, error))
    return FALSE;
  const Trail deeper{trail, id, identify(destination)};
  for (const Item& child : children)
    if (!copyTree(child.in(source).get(), child.type, child.in(destination).get(), flags, &deeper,
                  cancellable, error))
      return FALSE;
  return TRUE;
}

void visitTree(GFile* file, GFileType type, const std::function<void(GFile*)>& visit,
               const Trail* trail, GCancellable* cancellable, GError** error) {
  if (type == G_FILE_TYPE_REGULAR)
    visit(file);
  if (type != G_FILE_TYPE_DIRECTORY)
    return;
  const Trail deeper{trail, identify(file), {}};
  if (holds(trail, deeper.walked))
    return;

  const auto firstError = [error] { return error && *error ? nullptr : error; };
  std::vector<Item> children;
  if (Folder folder = openFolder(file, following, cancellable, firstError()))
    readFolder(std::move(folder), children, cancellable, firstError());
  for (const Item& child : children) {
    if (g_cancellable_set_error_if_cancelled(cancellable, firstError()))
      return;
    visitTree(child.in(file).get(), child.type, visit, &deeper, cancellable, error);
  }
}

} // namespace

bool mkdir_with_parents(const char* path) {
  return !path || g_mkdir_with_parents(path, 0700) != 0;
}

gboolean rm_rf(GFile* file, GCancellable* cancellable, GError** error) {
  if (!isGiven(file, error))
    return FALSE;
  if (const char* const path = nativePath(file))
    return internal::removeNative(path, cancellable, error);
  return removeTree(file, typeOf(file, notFollowing), cancellable, error);
}

gboolean directory_remove_all(const std::string& path) {
  return rm_rf(parseName(path).get(), nullptr, nullptr);
}

gboolean copy_recursive(GFile* source, GFile* destination, GFileCopyFlags flags,
                        GCancellable* cancellable, GError** error) {
  if (!isGiven(source, error) || !isGiven(destination, error))
    return FALSE;
  const GFileType type = typeOf(source, following);
  if (type == G_FILE_TYPE_DIRECTORY && g_file_has_prefix(destination, source)) {
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_WOULD_RECURSE,
                        "A folder cannot be copied into itself");
    return FALSE;
  }
  const char* const from = nativePath(source);
  const char* const to = nativePath(destination);
  if (from && to)
    return internal::copyNative(from, to, flags, cancellable, error);
  return copyTree(source, type, destination, flags, nullptr, cancellable, error);
}

gboolean copy_recursive(const std::string& source, const std::string& destination) {
  return copy_recursive(parseName(source).get(), parseName(destination).get(),
                        G_FILE_COPY_NOFOLLOW_SYMLINKS, nullptr, nullptr);
}

void traverseFiles(GFile* file, const std::function<void(GFile*)>& visit, GCancellable* cancellable,
                   GError** error) {
  if (!isGiven(file, error))
    return;
  if (const char* const path = nativePath(file))
    internal::visitNative(file, path, visit, cancellable, error);
  else
    visitTree(file, typeOf(file, following), visit, nullptr, cancellable, error);
}

} // namespace Qiv
