#ifndef QIV_FILES_GOBJECT_H
#define QIV_FILES_GOBJECT_H

#include <gio/gio.h>
#include <memory>

namespace Qiv::internal {

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};

/// Owns one reference.
using File = std::unique_ptr<GFile, Unref>;

} // namespace Qiv::internal

#endif
