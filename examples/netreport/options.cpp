#include "options.h"

#include <getopt.h>
#include <iostream>
#include <qiv/errors.h>

const char* const usage = "Usage: netreport [--lang en|ru] [--ping HOST]\n"
                          "Shows this machine's network interfaces and pings the gateway.\n"
                          "\n"
                          "  --lang en|ru  language of the messages (en)\n"
                          "  --ping HOST   ping HOST in place of the gateway\n"
                          "  --help        show this text\n"
                          "\n"
                          "Exit status: 0, 1 when the network fails, 2 for bad arguments.\n";

namespace {

bool setLanguage(const std::string& name) {
  if (name != "en" && name != "ru")
    return false;
  lng::language = name == "ru";
  return true;
}

} // namespace

std::optional<Options> parseOptions(int argc, char** argv) {
  static const option known[] = {{"help", no_argument, nullptr, 'h'},
                                 {"lang", required_argument, nullptr, 'l'},
                                 {"ping", required_argument, nullptr, 'p'},
                                 {}};
  Options options;
  lng::language = 0;
  for (int name; (name = getopt_long(argc, argv, "", known, nullptr)) != -1;) {
    if (name == 'h')
      options.help = true;
    else if (name == 'p' && *optarg)
      options.host = optarg;
    else if (name != 'l' || !setLanguage(optarg)) {
      std::cerr << usage;
      return std::nullopt;
    }
  }
  if (optind == argc)
    return options;
  std::cerr << "netreport: unexpected '" << argv[optind] << "'\n" << usage;
  return std::nullopt;
}
