#include "qiv/files.h"

#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>

namespace cross {

namespace {

constexpr std::size_t longestPath = 4095;

struct DirClose {
  void operator()(DIR* dir) const { closedir(dir); }
};

void printName(const char* name) {
  std::puts(name);
  std::printf("%02X %02X\n", name[0] & 0xFFU, name[1] & 0xFFU);
  wchar_t wide[2] = {};
  std::mbstowcs(wide, name, 2);
  std::printf("mbw=%04X %04X\n", static_cast<unsigned int>(wide[0]),
              static_cast<unsigned int>(wide[1]));
}

} // namespace

int ls(const char* path) {
  const std::string folder = path ? path : "";
  const std::unique_ptr<DIR, DirClose> dir(opendir(folder.c_str()));
  if (!dir) {
    std::printf("Cannot open dir %s\n", folder.c_str());
    return -1;
  }
  while (const dirent* entry = readdir(dir.get())) {
    if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
      continue;
    const std::string item = (folder + "/" + entry->d_name).substr(0, longestPath);
    const FileInfo info(item.c_str());
    if (info.st.st_dev == static_cast<dev_t>(-1))
      break;
    if (S_ISDIR(info.st.st_mode)) {
      ls(item.c_str());
      break;
    }
    printName(entry->d_name);
  }
  return 0;
}

} // namespace cross
