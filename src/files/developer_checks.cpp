#include "qiv/files.h"

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <glibmm/convert.h>
#include <glibmm/miscutils.h>
#include <memory>
#include <unistd.h>

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

void dirs_test() {
  std::printf("sz=%d %d \n", 1, PATH_MAX);
  std::string charset;
  Glib::get_charset(charset);
  std::printf("locale=%s, CP=%s\n", std::setlocale(LC_ALL, nullptr), charset.c_str());
  std::printf("appcache=%s\n", getAppCacheDir());
  const std::string documents = getDocDir();
  std::string bytes = documents;
  bytes.resize(std::max<std::size_t>(bytes.size(), 16));
  std::printf("%s=%s 0x%X 0x%X 0x%X\n", "mydoc", documents.c_str(), bytes[13] & 0xFFU,
              bytes[14] & 0xFFU, bytes[15] & 0xFFU);
  std::printf("glib_=%s\n", Glib::get_user_data_dir().c_str());
  ls("../1path/");
  char folder[PATH_MAX] = "";
  std::printf("PATH_MAX=%d,%s\n", PATH_MAX, getcwd(folder, sizeof folder) ? folder : "");
  std::printf("ret=%d\n", std::system("./1/1.pdf &"));
}

} // namespace cross
