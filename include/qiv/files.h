#ifndef QIV_FILES_H
#define QIV_FILES_H

/// Well-known directories, file trees, path strings, file opening and processes.
///
///     const std::string backups = Qiv::getQivCrossAppCacheDir() + "backups/";
///     Qiv::mkdir_with_parents(backups.c_str());
///     Qiv::copy_recursive(documents, backups + "documents");
///     std::string listing = cross::exec("du -sh ~/.cache");
///
/// File names are UTF-8 and reach the system unchanged. Folders that these functions return end
/// with "/"; destructors of global objects and atexit functions may still ask for them. Descriptors
/// that the library opens are close-on-exec. getAppCacheDir and getDocDir, with the Qiv functions
/// built on them, rewrite static strings: calls of the same one must not overlap, and a returned
/// pointer is valid until the next call. Everything else may be called from any thread.
///
/// Trees of native files (g_file_is_native) may be deeper than a path can be long, and others may
/// change them meanwhile: removal stays in its tree even if a folder is swapped for a link. Errors
/// of trees are in G_IO_ERROR; for native files the text begins with the path where it happened and
/// tells the first reason. `error` and `cancellable` may be null. Cancelling takes effect before
/// the next file.
///
/// Running a program blocks until it ends. In a process that ignores SIGCHLD the system keeps no
/// exit status, so every command seems to have failed: Popen has status and exitCode -1, and
/// spawn_command returns false.

#include "qiv/export.h"

#include <cstdio>
#include <fstream>
#include <functional>
#include <gio/gio.h>
#include <string>
#include <sys/stat.h>

// ---------------------------------------------------------------------------------------------
// The platform layer
// ---------------------------------------------------------------------------------------------

namespace cross {

/// HOME with "/" appended, as it was at the first call. Throws std::logic_error while HOME is
/// unset; so do the functions below that need it.
QIV_API const std::string& getHomeDir();

/// Home + ".cache/", wherever XDG_CACHE_HOME points. The pointer is valid until the next call.
QIV_API const char* getAppCacheDir();

/// The documents folder of the user-dirs file, which must be written there as "$HOME/...". For any
/// other entry, and without one, the last answer again: empty at first. Without an entry, or for
/// "$HOME/" itself, it also makes the folder "Documents/" in the home folder. The pointer is valid
/// until the next call.
QIV_API const char* getDocDir();

/// The folder of the running executable; empty when it cannot be found. The pointer stays valid.
QIV_API const char* getExeDir();

/// A developer's check that prints directories and the locale to standard output, and then lets
/// the shell execute "./1/1.pdf" in the background, if there is such a program.
QIV_API void dirs_test();

/// Not used by the library.
extern QIV_API char argV_;

/// What stat says of a path, at the moment of construction.
struct QIV_API FileInfo {
  /// Links are followed.
  explicit FileInfo(const char* path);

  struct stat st; ///< st_dev is -1 and st_size 0 for a path that cannot be examined
};

/// A developer's listing of a folder on standard output, which enters only the first sub-folder.
/// Returns 0, or -1 when the folder cannot be opened.
QIV_API int ls(const char* path);

/// Standard output of a shell command, less one line feed at its end. Standard error is the
/// caller's own, the exit status is ignored; a command that cannot be started gives the empty
/// string. The output is read as text, up to 127 bytes of a line at a time: a NUL hides what
/// follows it in such a piece, the line feed too.
QIV_API std::string exec(const char* command);

/// Standard output of a shell command, byte for byte; otherwise as exec.
QIV_API std::string execPipe(const char* command);

/// What a shell command printed, and how it ended.
struct QIV_API Popen {
  /// Runs the command to its end.
  explicit Popen(const char* command);

  FILE* stream;       ///< null if the command could not be started; otherwise closed: do not use it
  int status = -1;    ///< as waitpid gives it; -1 without a command
  int exitCode = 0;   ///< exit code, or number of the signal that ended or stopped the command
  std::string output; ///< standard output, byte for byte
};

} // namespace cross

namespace Qiv {

// ---------------------------------------------------------------------------------------------
// Directories of the application
// ---------------------------------------------------------------------------------------------

/// cross::getExeDir(), cross::getAppCacheDir() + "QivCross/" and cross::getDocDir() + "QivCross/".
/// The folders are not created. Throw as those do; the last two may not overlap calls of theirs.
/// @{
QIV_API std::string getQivCrossExeDir();
QIV_API std::string getQivCrossAppCacheDir();
QIV_API std::string getQivCrossDocDir();
/// @}

/// "Themes/" beside the executable.
QIV_API std::string getThemesDir();

// ---------------------------------------------------------------------------------------------
// File trees
// ---------------------------------------------------------------------------------------------

/// Makes a folder (mode 0700) and its parents. Inverted: true means that it FAILED; an existing
/// folder is a success.
QIV_API bool mkdir_with_parents(const char* path);

/// Deletes a file or a whole tree; links are deleted, never followed. TRUE when all is gone. Stops
/// at the first failure; the rest of the tree stays. FALSE for what does not exist.
QIV_API gboolean rm_rf(GFile* file, GCancellable* cancellable, GError** error);

/// rm_rf of a path or GIO name, which may be a URI. "~" and what begins with "~/" is in the home
/// folder; any other name with "~" is a file's.
QIV_API gboolean directory_remove_all(const std::string& path);

/// Copies a regular file to `destination`, or what a folder holds into the folder `destination`,
/// which may exist. Stops at the first failure and returns FALSE; what has been copied stays, but
/// no half of a file.
///
/// A missing `source` is a success that copies nothing. A file is never copied into a folder:
/// FALSE when `destination` is one. A file that exists is not overwritten without
/// G_FILE_COPY_OVERWRITE: FALSE. A folder cannot be copied into itself, nor onto a file.
///
/// A link to a folder is copied as that folder, unless it leads back to a folder that holds it; one
/// to a file as that file, or with G_FILE_COPY_NOFOLLOW_SYMLINKS as a link. Links to nothing and
/// special files are skipped. A link to a folder that stands in the destination is gone through.
///
/// Mode, modification time and user extended attributes are copied as by g_file_copy, but for
/// set-user-ID and set-group-ID: these stay only where the copy has the owner and group of its
/// source. Holes stay holes, unless a flag other than G_FILE_COPY_NOFOLLOW_SYMLINKS is given. A
/// folder gets its mode before it is filled, so a read-only one cannot be filled.
QIV_API gboolean copy_recursive(GFile* source, GFile* destination, GFileCopyFlags flags,
                                GCancellable* cancellable, GError** error);

/// The same for paths or GIO names as in directory_remove_all, with G_FILE_COPY_NOFOLLOW_SYMLINKS.
QIV_API gboolean copy_recursive(const std::string& source, const std::string& destination);

/// Calls `visit` for every regular file at or under `file`, in no particular order, through links
/// that do not lead back to a folder that holds them. The GFile is unreferenced after the call:
/// take a reference to keep it. A folder that cannot be read is passed over; `error` tells of the
/// first one. An empty `visit` throws std::bad_function_call at the first file.
QIV_API void traverseFiles(GFile* file, const std::function<void(GFile*)>& visit,
                           GCancellable* cancellable, GError** error);

// ---------------------------------------------------------------------------------------------
// Path strings: pure text, "/" and "\" both separate
// ---------------------------------------------------------------------------------------------

/// "b.tar.gz" of "/a/b.tar.gz".
QIV_API std::string getPathFileName(const std::string& path);
/// "b.tar" of "/a/b.tar.gz".
QIV_API std::string getPathFileNameWithoutExtension(const std::string& path);
/// "/a" of "/a/b.tar.gz". Empty for what lies in the root, such as "/b", and without a separator.
QIV_API std::string getPathDirectory(const std::string& path);
/// The path up to its last ".", wherever that stands: "/a" of "/a.d/b".
QIV_API std::string getPathWithoutExtension(const std::string& path);

// ---------------------------------------------------------------------------------------------
// Opening files
// ---------------------------------------------------------------------------------------------

/// `mode` plus out, or plus in. A failure leaves the stream closed with its fail bit set.
/// @{
QIV_API std::ofstream openOutputFileUTF8Name(const std::string& path, std::ios_base::openmode mode);
QIV_API std::ifstream openInputFileUTF8Name(const std::string& path, std::ios_base::openmode mode);
/// @}

/// fopen for writing ("w") or reading ("r"), null on failure. The caller closes it.
/// @{
QIV_API FILE* openCOutputFileUTF8Name(const std::string& path);
QIV_API FILE* openCInputFileUTF8Name(const std::string& path);
/// @}

/// True for whatever stat finds, folders included; links are followed.
QIV_API bool fileExist(const std::string& path);

// ---------------------------------------------------------------------------------------------
// Processes without a shell: GLib splits the command line and looks the program up on PATH
// ---------------------------------------------------------------------------------------------

/// Runs a command. True when it exited with 0 and printed something, which the caller then reads
/// from `*standard_output` and in every case releases with g_free.
QIV_API bool spawn_command(const char* command_line, char** standard_output);

/// Runs a command, echoes it with what it printed to standard output, and returns its standard
/// output. Throws a std::string when the command cannot be started or writes to standard error; its
/// exit status decides nothing. A null command line throws std::logic_error.
QIV_API std::string spawnSyncWithThrow(const char* command_line);

} // namespace Qiv

#endif
