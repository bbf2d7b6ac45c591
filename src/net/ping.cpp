#include "qiv/net.h"

#include <cstdlib>

namespace Qiv {

namespace {

/// Nothing that the shell, or ping's own option parser, would take for more than a host.
bool isPlainHost(const std::string& host) {
  static constexpr const char* allowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.:%_-";
  return !host.empty() && host[0] != '-' && host.find_first_not_of(allowed) == std::string::npos;
}

} // namespace

bool pingLinux(const std::string& host, unsigned int timeout) {
  if (!isPlainHost(host))
    return false;
  const std::string command =
      "ping -c 1 -W " + std::to_string(timeout) + " " + host + ">/dev/null 2>&1";
  return std::system(command.c_str()) == 0;
}

} // namespace Qiv
