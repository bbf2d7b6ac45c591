/// Saves documents, backs the folder up, looks through the copy and removes it.

#include <algorithm>
#include <iostream>
#include <qiv/files.h>
#include <vector>

namespace {

bool save(const std::string& path, const std::string& text) {
  Qiv::mkdir_with_parents(Qiv::getPathDirectory(path).c_str());
  std::ofstream file = Qiv::openOutputFileUTF8Name(path, std::ios::trunc);
  file << text;
  file.close();
  return !file.fail();
}

/// The regular files of a tree, in order.
std::vector<std::string> listFiles(const std::string& folder) {
  std::vector<std::string> files;
  GFile* const root = g_file_new_for_path(folder.c_str());
  const auto take = [&](GFile* file) {
    char* const path = g_file_get_path(file);
    files.emplace_back(path);
    g_free(path);
  };
  Qiv::traverseFiles(root, take, nullptr, nullptr);
  g_object_unref(root);
  std::sort(files.begin(), files.end());
  return files;
}

} // namespace

int main() {
  const std::string documents = Qiv::getQivCrossAppCacheDir() + "example";
  const std::string backup = documents + ".backup";
  if (!save(documents + "/letters/Müller.txt", "Hello\n") || !save(documents + "/plan.xml", "<a/>"))
    std::cout << "cannot save\n";

  if (!Qiv::copy_recursive(documents, backup))
    std::cout << "cannot copy everything\n";
  for (const std::string& file : listFiles(backup))
    std::cout << Qiv::getPathFileName(Qiv::getPathDirectory(file)) << ": "
              << Qiv::getPathFileNameWithoutExtension(file) << ", "
              << cross::FileInfo(file.c_str()).st.st_size << " bytes\n";
  std::cout << cross::exec(("grep -rl Hello '" + backup + "' | wc -l").c_str()) << " says hello\n";

  for (const std::string& folder : {documents, backup})
    Qiv::directory_remove_all(folder);
  std::cout << (Qiv::fileExist(backup) ? "still there\n" : "gone\n");
}
