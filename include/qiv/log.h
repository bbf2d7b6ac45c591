#ifndef QIV_LOG_H
#define QIV_LOG_H

/// The HTML log, a page for each run of the application, which a browser shows; times as text.
///
///     QivLog::Log::writeInfo("started");
///     QivLog::Log::writeError(message);
///     QivLog::Log::clear(); // keeps the ten newest pages
///
/// An entry is appended with one write, so entries of several threads and processes never mix. An
/// entry that cannot be written is lost without a word; getLostEntries() counts them.

#include "qiv/export.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace QivLog {

/// A log of its own: one page in a folder of pages.
///
/// The first entry, or the first call of _getLogPath(), chooses the page: it is named after that
/// moment, and its folder is made. This takes no lock, so let it happen before several threads use
/// the object; from then on they may. Each entry opens and closes the file, so that several objects
/// and processes may write the same page. Two processes that begin a page at the same time may both
/// write its head, which browsers pass over.
class QIV_API LogObject {
public:
  /// Logs into "QivCross/log/" in the user's documents folder (getQivCrossDocDir in qiv/files.h),
  /// in the working folder when the user has named none. Throws std::logic_error while HOME is
  /// unset.
  LogObject();
  /// Logs into `logDir`, which ends with "/".
  explicit LogObject(const std::string& logDir);

  /// Append an entry, which is in the file on return. The message is UTF-8 text, not markup; its
  /// line feeds show as line breaks. A full disk may cut an entry short; it counts as lost.
  /// @{
  void writeInfo(const std::string& message);
  void writeWarn(const std::string& message);
  void writeError(const std::string& message);
  /// @}

  /// Deletes all but the ten most recently modified pages of the folder, this object's like any
  /// other; of pages of one second those with the later names stay. Makes the folder if it is
  /// missing. Several processes may do so at once. Throws Glib::Error when the folder cannot be
  /// read or a page not be deleted.
  void clear();

  /// How many entries of this process, of any object and thread, could not be written completely.
  /// Safe to call from any thread.
  static std::uint64_t getLostEntries();

  /// Appends an entry of any type, a word that is written as it is. It is shown without a colour
  /// unless it is "Info", "Warn" or "Error".
  void _write(const std::string& message, const std::string& type);
  /// The page of this object. The first call names it after the local time, as in
  /// "log_20261115_121436.html", and makes its folder, which is not made again when it is removed.
  std::string _getLogPath();
  /// Local time as in "15:11:2026 12:14:36.042".
  std::string _currentTimestamp();

private:
  std::string _logDir;
  std::string _logPath;
};

/// The log of this process: one LogObject, made by its default constructor on first use, in any
/// thread. As for any other, let the first entry be written before several threads log.
class QIV_API Log {
public:
  /// The object that all others here forward to. It is never destroyed, so destructors of global
  /// objects and functions given to atexit may log.
  static LogObject& getInstance();

  /// LogObject's.
  /// @{
  static void writeInfo(const std::string& message);
  static void writeWarn(const std::string& message);
  static void writeError(const std::string& message);
  static void clear();
  /// @}
};

} // namespace QivLog

namespace Qiv {

/// Times and durations for display. Safe to call from any thread.
///
///     DateTimeHelper::getDisplayTimeString(file.modified, "%d.%m.%Y %H:%M");
///     DateTimeHelper::getDisplayDurationString(start, end, "%02d:%02d:%02d"); // "27:00:09"
class QIV_API DateTimeHelper {
public:
  /// Milliseconds from the Unix epoch to now.
  static std::int64_t getTimeNowSniceEpochMs();

  /// The local time of a time_t through a std::put_time format, in the global C++ locale. Only 0
  /// gives "". Throws std::out_of_range for a year beyond int, std::logic_error for a null format.
  static std::string getDisplayTimeString(std::int64_t seconds, const char* format);

  /// The same for a time point, except that all before the second after the epoch gives "".
  static std::string getDisplayTimeString(const std::chrono::system_clock::time_point& time,
                                          const char* format);

  /// Hours (not wrapped at 24), minutes and seconds from start to end as three int for a printf
  /// format. Fractions are dropped; "" unless end is later. Throws as StringHelper::formatC.
  static std::string getDisplayDurationString(const std::chrono::system_clock::time_point& start,
                                              const std::chrono::system_clock::time_point& end,
                                              const char* format);
};

} // namespace Qiv

#endif
