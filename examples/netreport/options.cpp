#include "options.h"

#include <getopt.h>
#include <iostream>
#include <qiv/errors.h>

const char* const usage = "Usage: netreport [--lang en|ru] [--ping HOST] [--html FILE] [--watch]\n"
                          "Shows this machine's network interfaces and pings the gateway.\n"
                          "\n"
                          "  --lang en|ru  language of the messages (en)\n"
                          "  --ping HOST   ping HOST in place of the gateway\n"
                          "  --html FILE   write the report as a page, too\n"
                          "  --watch       look again and again until Ctrl-C\n"
                          "  --help        show this text\n"
                          "\n"
                          "Exit status: 0, 1 when the network fails, 2 for bad arguments.\n";

namespace {

bool setLanguage(const std::string& name) {
  lng::language = name == "ru";
  return name == "ru" || name == "en";
}

/// Takes an option's value; an empty one makes no sense.
bool setText(std::string& text, const char* value) {
  text = value;
  return !text.empty();
}

bool take(Options& options, int name) {
  switch (name) {
  case 'h':
    return options.help = true;
  case 'w':
    return options.watch = true;
  case 'l':
    return setLanguage(optarg);
  case 'p':
    return setText(options.host, optarg);
  case 'f':
    return setText(options.html, optarg);
  default:
    return false;
  }
}

} // namespace

std::optional<Options> parseOptions(int argc, char** argv) {
  static const option known[] = {
      {"help", no_argument, nullptr, 'h'},       {"html", required_argument, nullptr, 'f'},
      {"lang", required_argument, nullptr, 'l'}, {"ping", required_argument, nullptr, 'p'},
      {"watch", no_argument, nullptr, 'w'},      {}};
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
