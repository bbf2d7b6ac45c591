#ifndef EXAMPLES_LOG_FOLDER_H
#define EXAMPLES_LOG_FOLDER_H

#include <qiv/files.h>
#include <string>

/// Where the log goes: into the user's documents, or into the cache folder of a user without a
/// documents folder, whose log the library would put into the working folder.
inline std::string getLogFolder() {
  const std::string documents = cross::getDocDir();
  return (documents.empty() ? Qiv::getQivCrossAppCacheDir() : Qiv::getQivCrossDocDir()) + "log/";
}

#endif
