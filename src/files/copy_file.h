#ifndef QIV_FILES_COPY_FILE_H
#define QIV_FILES_COPY_FILE_H

#include <gio/gio.h>
#include <sys/stat.h>

namespace Qiv::internal {

/// Copies a regular file, which `st` describes, to the empty file `copy`; holes stay holes. False
/// with errno set, ECANCELED for a cancelled copy.
bool copyContent(int source, int copy, const struct stat& st, GCancellable* cancellable);

/// Gives `copy` the user's extended attributes, the modification time and the mode of a file or
/// folder. What the file system of the copy cannot keep is left out.
void copyAttributes(int source, int copy, const struct stat& st);

/// Takes from what GIO has copied the bits by which it would run as its owner or group, who is now
/// the copier, unless it has the owner and group of `source`. False with errno set.
bool dropForeignIds(int folder, const char* copy, const struct stat& source);

} // namespace Qiv::internal

#endif
