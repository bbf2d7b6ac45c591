/// netreport: what the network of this machine looks like. It shows how an application uses the
/// library: ask, catch the localised reason, write down what happened.

#include "options.h"
#include "report.h"
#include "texts.h"

#include <filesystem>
#include <iostream>
#include <qiv/log.h>
#include <qiv/net.h>

namespace {

using QivLog::Log;

constexpr unsigned int pingSeconds = 1;

enum ExitStatus { success = 0, networkFailure = 1, badArguments = 2 };

ExitStatus fail(const std::string& reason) {
  std::cerr << reason << "\n";
  Log::writeError(reason);
  return networkFailure;
}

bool ping(const std::string& host) {
  const bool answered = Qiv::NetworkHelper::ping(host, pingSeconds);
  const std::string line =
      "ping " + host + ": " + (answered ? texts::answers() : texts::noAnswer());
  std::cout << line << "\n";
  if (answered)
    Log::writeInfo(line);
  else
    Log::writeWarn(line);
  return answered;
}

/// A gateway may ignore pings in good health; a host that was asked for has to answer.
ExitStatus report(const Options& options) {
  const Qiv::NetworkInterfaces network = Qiv::NetworkHelper::getNetworkInterfaces();
  const std::string table = formatTable(network);
  std::cout << table;
  Log::writeInfo(table);

  if (options.host)
    return ping(*options.host) ? success : fail(*options.host + ": " + texts::noAnswer());
  const std::string gateway = findGateway(network);
  if (gateway.empty())
    Log::writeWarn(texts::noGateway());
  else
    ping(gateway);
  return success;
}

ExitStatus reportOrFail(const Options& options) {
  try {
    return report(options);
  } catch (const char* reason) {
    return fail(reason);
  } catch (const std::string& reason) {
    return fail(reason);
  }
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
  const ExitStatus status = reportOrFail(*options);
  Log::clear();
  const std::string path = Log::getInstance()._getLogPath();
  std::cout << texts::log() << ": " << std::filesystem::absolute(path).string() << "\n";
  return status;
}
