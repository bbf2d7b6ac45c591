#include "history.h"

#include <qiv/files.h>
#include <qiv/text.h>

std::vector<std::string> rememberHost(const std::string& host) {
  constexpr unsigned int keptHosts = 10;
  const std::string folder = Qiv::getQivCrossAppCacheDir();
  const std::string path = folder + "netreport.hosts";
  Qiv::mkdir_with_parents(folder.c_str());

  Qiv::RecentCollection hosts(keptHosts);
  std::string line;
  std::getline(Qiv::openInputFileUTF8Name(path, {}), line);
  hosts.deserialize(line);
  hosts.tryAdd(host);
  Qiv::openOutputFileUTF8Name(path, std::ios::trunc) << hosts.serialize() << "\n";
  return hosts.getCollection();
}
