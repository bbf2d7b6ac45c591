#ifndef NETREPORT_REPORTER_H
#define NETREPORT_REPORTER_H

#include "options.h"
#include "report.h"

#include <qiv/errors.h>
#include <qiv/log.h>
#include <string>

/// Looks at the network and tells what is new since the last look: on the terminal, in the log and
/// in the report.
class Reporter {
public:
  /// Both have to live as long as the reporter.
  Reporter(const Options& options, QivLog::LogObject& log);

  /// False when something is wrong, which standard error then tells. May be called by any one
  /// thread at a time.
  bool look();

private:
  Qiv::Result examine();
  Qiv::Result ping();
  Qiv::Result writeReport();
  bool isNews(std::string& last, const std::string& now);
  void say(std::ostream& stream, const std::string& text);

  const Options& options;
  QivLog::LogObject& log;
  const char* const lineStart; ///< takes the running time off the terminal's last line
  Findings findings;
  bool reported = false; ///< the report tells these findings
  std::string shownTable;
  std::string shownPing;
  std::string shownFailure;
};

#endif
