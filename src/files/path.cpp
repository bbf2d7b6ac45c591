#include "qiv/files.h"

namespace Qiv {

namespace {

constexpr const char* separators = "/\\";

std::string withoutExtension(const std::string& text) {
  return text.substr(0, text.rfind('.'));
}

} // namespace

std::string getPathFileName(const std::string& path) {
  return path.substr(path.find_last_of(separators) + 1);
}

std::string getPathFileNameWithoutExtension(const std::string& path) {
  return withoutExtension(getPathFileName(path));
}

std::string getPathDirectory(const std::string& path) {
  const std::size_t end = path.find_last_of(separators);
  return end == std::string::npos ? std::string() : path.substr(0, end);
}

std::string getPathWithoutExtension(const std::string& path) {
  return withoutExtension(path);
}

} // namespace Qiv
