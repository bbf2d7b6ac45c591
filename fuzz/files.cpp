#include "fuzz.h"

#include "qiv/files.h"
#include "qiv/text.h"

#include <filesystem>

using namespace Qiv;

void tryText(const std::string& text) {
  const std::string name = getPathFileName(text), folder = getPathDirectory(text);
  AGREE(name == std::filesystem::path(StringHelper::replaceAll(text, "\\", "/")).filename());
  AGREE(folder.size() + name.size() + (name.size() != text.size()) == text.size());
  AGREE(StringHelper::startsWith(text, folder));
  const std::string base = getPathWithoutExtension(text);
  AGREE(base == text ? text.find('.') == std::string::npos : text.rfind('.') == base.size());
  AGREE(StringHelper::startsWith(text, base));
  AGREE(getPathFileNameWithoutExtension(text) == getPathWithoutExtension(name));
}
