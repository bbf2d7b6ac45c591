/// netreport: what the network of this machine looks like. It shows how an application uses the
/// library: ask, tell the reason of a failure, write down what happened.

#include "../common/log_folder.h"
#include "options.h"
#include "reporter.h"
#include "texts.h"
#include "watch.h"

#include <cstdlib>
#include <glibmm/error.h>
#include <iostream>

namespace {

using QivLog::LogObject;

enum ExitStatus { success = 0, failure = 1, badArguments = 2 };

void pruneLogs(LogObject& log) {
  try {
    log.clear();
  } catch (const Glib::Error& error) {
    std::cerr << error.what() << "\n";
  }
}

void tellFile(const char* what, const std::string& file) {
  if (Qiv::fileExist(file))
    std::cout << what << ": " << file << "\n";
}

ExitStatus run(const Options& options) {
  LogObject log(getLogFolder());
  Reporter reporter(options, log);
  bool good = false;
  const auto look = [&] { good = reporter.look(); };
  if (options.watch)
    watch(look);
  else
    look();

  pruneLogs(log);
  tellFile(texts::report(), getXmlPath());
  tellFile(texts::page(), options.html);
  tellFile(texts::log(), log._getLogPath());
  if (LogObject::getLostEntries() > 0) {
    std::cerr << texts::notWritten(log._getLogPath()) << "\n";
    good = false;
  }
  return std::cout.flush() && good ? success : failure;
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
