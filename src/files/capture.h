#ifndef QIV_FILES_CAPTURE_H
#define QIV_FILES_CAPTURE_H

/// Runs a program to its end and keeps what it prints. Right for a process that has closed its
/// standard descriptors, too, and for threads that run programs at once.

#include <string>

namespace Qiv::internal {

struct Captured {
  int systemError = 0; ///< why the program could not be started
  int status = -1;     ///< as waitpid gives it; -1 when that cannot be known
  std::string output;
  std::string errors;
};

/// Runs "sh -c command", which inherits all but the standard output.
Captured captureShell(const char* command);

/// Runs a program that is looked up on PATH. It inherits no descriptor and reads nothing.
Captured captureProgram(const char* const arguments[]);

} // namespace Qiv::internal

#endif
