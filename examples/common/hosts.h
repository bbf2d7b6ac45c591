#ifndef EXAMPLES_HOSTS_H
#define EXAMPLES_HOSTS_H

#include <qiv/errors.h>
#include <string>
#include <vector>

/// True for what the library would ping, and what is safe to write into a report.
bool isHost(const std::string& text);

/// Success for a host that answered a ping; otherwise why it did not, in lng::language.
Qiv::Result getPingResult(const std::string& host, bool answered);

/// The ten hosts pinged last, the newest at the end, which are kept in the application's cache
/// folder.
std::vector<std::string> loadHosts();

/// Puts the host at the end of the list and returns it. Any number of processes may do so at once;
/// a list that others keep busy stays as it is.
std::vector<std::string> rememberHost(const std::string& host);

#endif
