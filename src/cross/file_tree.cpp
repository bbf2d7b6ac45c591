#include "qiv/files.h"

#include "cross/system_path.h"

#include <memory>
#include <utility>
#include <vector>

namespace Qiv {

namespace {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
using File = std::unique_ptr<GFile, Unref>;
using Folder = std::unique_ptr<GFileEnumerator, Unref>;

struct Child {
  std::string name; ///< in the file system's own bytes
  GFileType type;

  File in(GFile* folder) const { return File(g_file_get_child(folder, name.c_str())); }
};

/// Null for a path that names nothing: GIO would take the empty name for the working folder.
File parseName(const std::string& path) {
  const char* const name = internal::systemPath(path);
  return File(*name ? g_file_parse_name(name) : nullptr);
}

Folder openFolder(GFile* file, GFileQueryInfoFlags flags, GCancellable* cancellable,
                  GError** error) {
  return Folder(
      g_file_enumerate_children(file, "standard::name,standard::type", flags, cancellable, error));
}

/// Appends all of the folder to `children` and closes it, before the caller goes deeper: however
/// deep a tree is, one descriptor is enough for it.
bool readFolder(Folder folder, std::vector<Child>& children, GCancellable* cancellable,
                GError** error) {
  GFileInfo* info;
  while (g_file_enumerator_iterate(folder.get(), &info, nullptr, cancellable, error)) {
    if (!info)
      return true;
    children.push_back({g_file_info_get_name(info), g_file_info_get_file_type(info)});
  }
  return false;
}

/// GLib itself would only print a warning.
bool isGiven(GFile* file, GError** error) {
  if (!file)
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_INVALID_ARGUMENT, "No file given");
  return file;
}

gboolean removeTree(GFile* file, GFileType type, GCancellable* cancellable, GError** error) {
  // The enumerator opens a linked folder in spite of this flag, so only a real one is tried.
  constexpr auto flags = G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS;
  if (type == G_FILE_TYPE_DIRECTORY) {
    std::vector<Child> children;
    Folder folder = openFolder(file, flags, cancellable, nullptr);
    if (folder && !readFolder(std::move(folder), children, cancellable, error))
      return FALSE;
    for (const Child& child : children)
      if (!removeTree(child.in(file).get(), child.type, cancellable, error))
        return FALSE;
  }
  return g_file_delete(file, cancellable, error);
}

gboolean copyTree(GFile* source, GFileType type, GFile* destination, GFileCopyFlags flags,
                  GCancellable* cancellable, GError** error) {
  if (type == G_FILE_TYPE_REGULAR)
    return g_file_copy(source, destination, flags, cancellable, nullptr, nullptr, error);
  if (type != G_FILE_TYPE_DIRECTORY)
    return TRUE;

  g_file_make_directory(destination, cancellable, nullptr);
  g_file_copy_attributes(source, destination, flags, cancellable, nullptr);
  std::vector<Child> children;
  Folder folder = openFolder(source, G_FILE_QUERY_INFO_NONE, cancellable, error);
  if (!folder || !readFolder(std::move(folder), children, cancellable, error))
    return FALSE;
  for (const Child& child : children)
    if (!copyTree(child.in(source).get(), child.type, child.in(destination).get(), flags,
                  cancellable, error))
      return FALSE;
  return TRUE;
}

void visitTree(GFile* file, GFileType type, const std::function<void(GFile*)>& visit,
               GCancellable* cancellable, GError** error) {
  if (type == G_FILE_TYPE_REGULAR)
    visit(file);
  if (type != G_FILE_TYPE_DIRECTORY)
    return;

  const auto firstError = [error] { return error && *error ? nullptr : error; };
  std::vector<Child> children;
  if (Folder folder = openFolder(file, G_FILE_QUERY_INFO_NONE, cancellable, firstError()))
    readFolder(std::move(folder), children, cancellable, firstError());
  for (const Child& child : children) {
    if (g_cancellable_set_error_if_cancelled(cancellable, firstError()))
      return;
    visitTree(child.in(file).get(), child.type, visit, cancellable, error);
  }
}

} // namespace

bool mkdir_with_parents(const char* path) {
  return !path || g_mkdir_with_parents(path, 0700) != 0;
}

gboolean rm_rf(GFile* file, GCancellable* cancellable, GError** error) {
  if (!isGiven(file, error))
    return FALSE;
  const GFileType type =
      g_file_query_file_type(file, G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, cancellable);
  return removeTree(file, type, cancellable, error);
}

gboolean directory_remove_all(const std::string& path) {
  return rm_rf(parseName(path).get(), nullptr, nullptr);
}

gboolean copy_recursive(GFile* source, GFile* destination, GFileCopyFlags flags,
                        GCancellable* cancellable, GError** error) {
  if (!isGiven(source, error) || !isGiven(destination, error))
    return FALSE;
  const GFileType type = g_file_query_file_type(source, G_FILE_QUERY_INFO_NONE, nullptr);
  if (type == G_FILE_TYPE_DIRECTORY && g_file_has_prefix(destination, source)) {
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_WOULD_RECURSE,
                        "A folder cannot be copied into itself");
    return FALSE;
  }
  return copyTree(source, type, destination, flags, cancellable, error);
}

gboolean copy_recursive(const std::string& source, const std::string& destination) {
  return copy_recursive(parseName(source).get(), parseName(destination).get(),
                        G_FILE_COPY_NOFOLLOW_SYMLINKS, nullptr, nullptr);
}

void traverseFiles(GFile* file, const std::function<void(GFile*)>& visit, GCancellable* cancellable,
                   GError** error) {
  if (isGiven(file, error))
    visitTree(file, g_file_query_file_type(file, G_FILE_QUERY_INFO_NONE, nullptr), visit,
              cancellable, error);
}

} // namespace Qiv
