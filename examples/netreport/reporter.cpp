#include "reporter.h"

#include "../common/hosts.h"
#include "network_text.h"
#include "signal_pause.h"
#include "texts.h"

#include <chrono>
#include <iostream>
#include <qiv/concurrency.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr unsigned int pingSeconds = 1;
constexpr unsigned int lockRetryMicroseconds = 10000;
constexpr std::chrono::seconds lockLimit(10);

/// Empty for a success.
std::string toText(const Qiv::Result& result) {
  return result ? "" : Qiv::ObjectErrorHelper::toDisplayString({result.getError()}, 0);
}

} // namespace

Reporter::Reporter(const Options& options, QivLog::LogObject& log)
    : options(options), log(log),
      lineStart(options.watch && isatty(STDOUT_FILENO) ? "\r\33[K" : "") {}

/// One netreport at a time uses the files that all share. A lock may be kept for 120 seconds, so
/// each look takes it anew, and no signal may end the process meanwhile and leave it behind.
bool Reporter::look() {
  const SignalPause pause;
  const Qiv::CrossprocessLock lock("netreport", lockRetryMicroseconds, lockLimit);
  if (!lock.isHeld())
    log.writeWarn(texts::noLock());
  const Qiv::Result result = examine();
  const std::string failure = toText(result);
  if (isNews(shownFailure, failure) && !result) {
    say(std::cerr, failure);
    log.writeError(failure);
  }
  return result;
}

Qiv::Result Reporter::examine() {
  const Qiv::NetworkInterfaces& network = findings.network;
  if (Qiv::Result found = Qiv::NetworkHelper::tryGetNetworkInterfaces(findings.network); !found) {
    shownTable.clear(); // to be shown again once there is a network
    return found;
  }
  if (isNews(shownTable, formatTable(network))) {
    say(std::cout, shownTable);
    log.writeInfo(formatLines(network));
  }
  const Qiv::Result connected =
      network.hasInterface ? Qiv::Result(true) : Qiv::LogicError::create(Qiv::ethsNotFound());
  return Qiv::ResultHelper::combineResults({connected, ping(), writeReport()});
}

/// A gateway may ignore pings in good health; a host that was asked for has to answer.
Qiv::Result Reporter::ping() {
  const std::string host = options.host.empty() ? findGateway(findings.network) : options.host;
  const bool newHost = isNews(findings.host, host);
  if (host.empty())
    return true;
  if (newHost)
    findings.recentHosts = rememberHost(host);
  findings.answered = Qiv::NetworkHelper::ping(host, pingSeconds);
  Qiv::Result reached = getPingResult(host, findings.answered);
  const std::string line = reached ? texts::ping(host, true) : toText(reached);
  const bool news = isNews(shownPing, line);
  if (!reached && !options.host.empty())
    return reached;
  if (!news)
    return true;
  say(std::cout, line);
  if (findings.answered)
    log.writeInfo(line);
  else
    log.writeWarn(line);
  return true;
}

Qiv::Result Reporter::writeReport() {
  if (reported)
    return true;
  const std::string xml = getXmlPath();
  if (!writeXml(findings, xml))
    return Qiv::LogicError::create(texts::notWritten(xml));
  if (!options.html.empty() && !writeHtml(xml, options.html))
    return Qiv::LogicError::create(texts::notWritten(options.html));
  reported = true;
  return true;
}

bool Reporter::isNews(std::string& last, const std::string& now) {
  const bool news = std::exchange(last, now) != now;
  reported = reported && !news;
  return news;
}

void Reporter::say(std::ostream& stream, const std::string& text) {
  std::cout << lineStart;
  stream << text << std::endl;
}
