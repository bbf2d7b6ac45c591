#include "qiv/files.h"

#include "internal/checked_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <unistd.h>
#include <utility>

using namespace std::string_literals;

namespace {

/// What destructors of global objects and atexit functions still use is never destroyed.
std::string& keep(std::string text) {
  return *new std::string(std::move(text));
}

} // namespace

namespace cross {

char argV_ = 0;

namespace {

/// Made if it is missing. Only the first call decides where it lies.
void makeDefaultDocDir() {
  static std::string& path = keep(getHomeDir() + "Documents/");
  if (!Qiv::fileExist(path))
    mkdir(path.c_str(), 0700);
}

std::string findExeDir() {
  std::string path(255, '\0');
  ssize_t length;
  while ((length = readlink("/proc/self/exe", path.data(), path.size())) ==
         static_cast<ssize_t>(path.size()))
    path.resize(2 * path.size());
  if (length < 0)
    throw std::system_error(errno, std::generic_category());
  path.resize(static_cast<std::size_t>(length));
  std::replace(path.begin(), path.end(), '\\', '/');
  return path.substr(0, path.rfind('/') + 1);
}

} // namespace

const std::string& getHomeDir() {
  static std::string& home = keep(Qiv::internal::checkedText(getenv("HOME")) + "/"s);
  return home;
}

const char* getAppCacheDir() {
  static std::string& cache = keep("");
  cache = getHomeDir() + ".cache/";
  return cache.c_str();
}

const char* getDocDir() {
  static std::string& documents = keep("");
  const std::string entry = exec("awk -F '=' '/XDG_DOCUMENTS_DIR/ {print $2}' "
                                 "~/.config/user-dirs.dirs 2>/dev/null | tr -d '\\\"'");
  const std::string home = "$HOME/";
  if (entry.empty() || entry == home)
    makeDefaultDocDir();
  else if (entry.compare(0, home.size(), home) == 0)
    documents = getHomeDir() + entry.substr(home.size()) + (entry.back() == '/' ? "" : "/");
  return documents.c_str();
}

const char* getExeDir() {
  try {
    static std::string& folder = keep(findExeDir());
    return folder.c_str();
  } catch (const std::system_error&) { // the next call tries again
    return "";
  }
}

} // namespace cross

namespace Qiv {

std::string getQivCrossExeDir() {
  return cross::getExeDir();
}
std::string getQivCrossAppCacheDir() {
  return std::string(cross::getAppCacheDir()) + "QivCross/";
}
std::string getQivCrossDocDir() {
  return std::string(cross::getDocDir()) + "QivCross/";
}

std::string getThemesDir() {
  static std::string& themes = keep(std::string(cross::getExeDir()) + "Themes/");
  return themes;
}

} // namespace Qiv
