#ifndef QIV_FILES_NATIVE_TREE_H
#define QIV_FILES_NATIVE_TREE_H

/// The tree operations of qiv/files.h for files that the system itself knows, by their paths.

#include <functional>
#include <gio/gio.h>
#include <memory>
#include <string>

namespace Qiv::internal {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
using File = std::unique_ptr<GFile, Unref>;

bool removeNative(const std::string& path, GCancellable* cancellable, GError** error);

bool copyNative(const std::string& source, const std::string& destination, GFileCopyFlags flags,
                GCancellable* cancellable, GError** error);

/// `file` is at `path`.
void visitNative(GFile* file, const std::string& path, const std::function<void(GFile*)>& visit,
                 GCancellable* cancellable, GError** error);

} // namespace Qiv::internal

#endif
