#include "options.h"

#include "../common/hosts.h"

#include <getopt.h>
#include <iostream>
#include <qiv/errors.h>

const char* const usage =
    "Usage: netreport [--lang en|ru] [--ping HOST] [--html FILE] [--watch]\n"
    "Shows this machine's network interfaces and pings the gateway.\n"
    "\n"
    "  --lang en|ru  language of the messages, in place of the locale's\n"
    "  --ping HOST   ping HOST in place of the gateway\n"
    "  --html FILE   write the report as a page, too\n"
    "  --watch       look again and again until Ctrl-C, tell what has changed\n"
    "  -h, --help    show this text\n"
    "  --version     show the version\n"
    "\n"
    "Exit status: 0, 1 when the network or a file fails, 2 for bad arguments.\n";

namespace {

bool setLanguage(const std::string& name) {
  lng::language = name == "ru";
  return name == "ru" || name == "en";
}

/// False for a name or a value that makes no sense.
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

std::string getComplaint(int name, const char* argument) {
  switch (name) {
  case 'l':
    return "--lang needs en or ru";
  case 'p':
    return "--ping needs the name or address of a host";
  case 'f':
    return "--html needs a file";
  default:
    return std::string("cannot make sense of '") + argument + "'";
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
  constexpr int missingValue = ':';
  Options options;
  lng::setFromLocale();
  while (optind < argc) {
    const char* const argument = argv[optind];
    const int name = getopt_long(argc, argv, "+:h", known, nullptr);
    if (take(options, name))
      continue;
    std::cerr << "netreport: " << getComplaint(name == missingValue ? optopt : name, argument)
              << "\nnetreport --help tells what it knows\n";
    return std::nullopt;
  }
  return options;
}
