#ifndef QIV_FILES_SPAWN_H
#define QIV_FILES_SPAWN_H

#include "files/capture.h"

namespace Qiv::internal {

/// Splits `command` as GLib does and runs it without a shell. As readers of C texts see it: a NUL
/// that was printed ends the text.
Captured spawn(const char* command);

/// Throws the std::string "command: errors" if the command wrote to standard error.
void throwErrors(const char* command, const Captured& captured);

} // namespace Qiv::internal

#endif
