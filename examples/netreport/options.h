#ifndef NETREPORT_OPTIONS_H
#define NETREPORT_OPTIONS_H

#include <optional>
#include <string>

/// What the command line asks for.
struct Options {
  bool help = false;
  bool version = false;
  bool watch = false;
  std::string host; ///< to ping in place of the gateway, if not empty
  std::string html; ///< file of the report page, if not empty
};

extern const char* const usage;

/// Reads the command line and sets the language of all messages. Empty for arguments that make no
/// sense, of which standard error then tells.
std::optional<Options> parseOptions(int argc, char** argv);

#endif
