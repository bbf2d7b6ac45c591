/// netreport: what the network of this machine looks like. It shows how an application uses the
/// library: ask, catch the localised reason, write down what happened.

#include "history.h"
#include "network_text.h"
#include "options.h"
#include "report.h"
#include "signal_pause.h"
#include "texts.h"
#include "watch.h"

#include <cstdlib>
#include <filesystem>
#include <glibmm/error.h>
#include <iostream>
#include <qiv/concurrency.h>
#include <qiv/files.h>
#include <qiv/log.h>
#include <qiv/text.h>

namespace {

using QivLog::Log;

constexpr unsigned int pingSeconds = 1;

enum ExitStatus { success = 0, failure = 1, badArguments = 2 };

/// Looks at the network and tells what it found: on the terminal, in the log and in the report.
class Reporter {
public:
  explicit Reporter(const Options& options) : options(options) {}

  /// Looks and pings.
  ExitStatus report();
  /// Looks again and tells only what has changed.
  void repeat();

private:
  template <typename Look>
  ExitStatus guarded(Look look);
  ExitStatus ping();
  void show();
  ExitStatus writeReport();
  ExitStatus fail(const std::string& reason);

  const Options& options;
  Findings findings;
  std::string shown;     ///< the table or failure shown last
  const char* lead = ""; ///< what brings the cursor to the start of a line
};

/// One netreport at a time uses the files that all share. A lock may be kept for 120 seconds, so
/// each look takes it anew, and no signal may end the process meanwhile and leave it behind.
template <typename Look>
ExitStatus Reporter::guarded(Look look) {
  const SignalPause pause;
  const Qiv::CrossprocessLock lock("netreport", 10000);
  if (!lock.isHeld())
    Log::writeWarn(texts::noLock());
  try {
    findings.network = Qiv::NetworkHelper::getNetworkInterfaces();
    return look();
  } catch (const char* reason) {
    return fail(reason);
  } catch (const std::string& reason) {
    return fail(reason);
  }
}

ExitStatus Reporter::report() {
  return guarded([this] {
    show();
    const ExitStatus looked = findings.network.hasInterface ? ping() : fail(Qiv::ethsNotFound());
    const ExitStatus written = writeReport();
    return looked == success ? written : looked;
  });
}

void Reporter::repeat() {
  lead = "\r"; // over the running time
  findings.host.clear();
  guarded([this] {
    if (formatTable(findings.network) == shown)
      return success;
    show();
    return writeReport();
  });
}

/// A gateway may ignore pings in good health; a host that was asked for has to answer.
ExitStatus Reporter::ping() {
  findings.host = options.host.empty() ? findGateway(findings.network) : options.host;
  if (findings.host.empty())
    return success;
  findings.answered = Qiv::NetworkHelper::ping(findings.host, pingSeconds);
  findings.recentHosts = rememberHost(findings.host);
  const std::string line = texts::ping(findings.host, findings.answered);
  if (!findings.answered && !options.host.empty())
    return fail(line);
  std::cout << line << "\n";
  if (findings.answered)
    Log::writeInfo(line);
  else
    Log::writeWarn(line);
  return success;
}

void Reporter::show() {
  shown = formatTable(findings.network);
  std::cout << lead << shown;
  Log::writeInfo(formatLines(findings.network));
}

ExitStatus Reporter::writeReport() {
  const std::string xml = getXmlPath();
  if (!writeXml(findings, xml))
    return fail(texts::notWritten(xml));
  std::cout << texts::report() << ": " << xml << "\n";
  if (options.html.empty())
    return success;
  if (!writeHtml(xml, options.html))
    return fail(texts::notWritten(options.html));
  std::cout << texts::page() << ": " << options.html << "\n";
  return success;
}

ExitStatus Reporter::fail(const std::string& reason) {
  if (reason != shown) {
    // A diagnosis of several lines ends with a line feed of its own.
    std::cerr << lead << reason << (Qiv::StringHelper::endsWith(reason, "\n") ? "" : "\n");
    Log::writeError(reason);
  }
  shown = reason;
  return failure;
}

void pruneLogs() {
  try {
    Log::clear();
  } catch (const Glib::Error& error) {
    std::cerr << error.what() << "\n";
  }
}

ExitStatus run(const Options& options) {
  Reporter reporter(options);
  const ExitStatus status = reporter.report();
  if (options.watch)
    watch([&] { reporter.repeat(); });
  pruneLogs();
  const std::string log = Log::getInstance()._getLogPath();
  std::error_code gone; // the working folder may be
  if (Qiv::fileExist(log))
    std::cout << texts::log() << ": " << std::filesystem::absolute(log, gone).string() << "\n";
  return std::cout.flush() ? status : failure;
}

} // namespace

int main(int argc, char** argv) {
  const std::optional<Options> options = parseOptions(argc, argv);
  if (!options)
    return badArguments;
  if (options->help) {
    std::cout << usage;
    return success;
  }
  if (options->version) {
    std::cout << "netreport " NETREPORT_VERSION "\n";
    return success;
  }
  if (!std::getenv("HOME")) {
    std::cerr << "netreport: HOME is not set\n";
    return badArguments;
  }
  return run(*options);
}
