#include "options.h"

#include <getopt.h>
#include <iostream>
#include <qiv/errors.h>

const char* const usage =
    "Usage: netreport [--lang en|ru] [--ping HOST] [--html FILE] [--watch]\n"
    "Shows this machine's network interfaces and pings the gateway.\n"
    "\n"
    "  --lang en|ru  language of the messages (en)\n"
    "  --ping HOST   ping HOST in place of the gateway\n"
    "  --html FILE   write the report as a page, too\n"
    "  --watch       look again and again until Ctrl-C\n"
    "  --help        show this text\n"
    "  --version     show the version\n"
    "\n"
    "Exit status: 0, 1 when the network or a file fails, 2 for bad arguments.\n";

namespace {

bool setLanguage(const std::string& name) {
  lng::language = name == "ru";
  return name == "ru" || name == "en";
}

/// What the library would ping, and what is safe to write into a report.
bool isHost(const std::string& host) {
  static constexpr const char* allowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.:%_-";
  return !host.empty() && host[0] != '-' && host.find_first_not_of(allowed) == std::string::npos;
}

bool take(Options& options, int name) {
  switch (name) {
  case 'h':
    options.help = true;
    return true;
  case 'v':
    options.version = true;
    return true;
  case 'w':
    options.watch = true;
    return true;
  case 'l':
    return setLanguage(optarg);
  case 'p':
    options.host = optarg;
    return isHost(options.host);
  case 'f':
    options.html = optarg;
    return !options.html.empty();
  default:
    return false;
  }
}

} // namespace

std::optional<Options> parseOptions(int argc, char** argv) {
  static const option known[] = {{"help", no_argument, nullptr, 'h'},
                                 {"html", required_argument, nullptr, 'f'},
                                 {"lang", required_argument, nullptr, 'l'},
                                 {"ping", required_argument, nullptr, 'p'},
                                 {"version", no_argument, nullptr, 'v'},
                                 {"watch", no_argument, nullptr, 'w'},
                                 {}};
  Options options;
  opterr = 0; // one message is enough
  setLanguage("en");
  bool valid = true;
  for (int name; valid && (name = getopt_long(argc, argv, "", known, nullptr)) != -1;)
    valid = take(options, name);
  if (valid && optind == argc)
    return options;
  std::cerr << "netreport: cannot make sense of '" << argv[valid ? optind : optind - 1] << "'\n"
            << usage;
  return std::nullopt;
}
