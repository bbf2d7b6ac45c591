#ifndef NETREPORT_HISTORY_H
#define NETREPORT_HISTORY_H

#include <string>
#include <vector>

/// Puts the host last in the list of the ten hosts pinged last, which is kept in the application's
/// cache folder, and returns the list. Only one process may do so at a time.
std::vector<std::string> rememberHost(const std::string& host);

#endif
