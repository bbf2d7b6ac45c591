// File trees and commands.

#include "bench.h"

#include <Poco/File.h>
#include <Poco/RecursiveDirectoryIterator.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <ftw.h>
#include <memory>
#include <qiv/files.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// ---------------------------------------------------------------------------------------------
// Trees
// ---------------------------------------------------------------------------------------------

std::string makeTree() {
  const std::string tree = bench::scratchFolder() + "tree/";
  for (int i = 0; i < 2000; ++i) {
    const std::string folder = tree + std::to_string(i / 20 % 10) + "/" + std::to_string(i / 200);
    fs::create_directories(folder);
    std::ofstream(folder + "/file " + std::to_string(i)) << std::string(100, 'x');
  }
  return tree;
}

const std::string& copyPath() {
  static const std::string path = bench::scratchFolder() + "copy";
  return path;
}

/// Times `way` from `tree` to a place where nothing is.
template <typename Way>
auto copying(const std::string& tree, Way way) {
  return [=](benchmark::State& state) {
    way(tree, copyPath());
    state.PauseTiming();
    fs::remove_all(copyPath());
    state.ResumeTiming();
  };
}

/// Times `way` on a copy of `tree`.
template <typename Way>
auto removing(const std::string& tree, Way way) {
  return [=](benchmark::State& state) {
    state.PauseTiming();
    fs::copy(tree, copyPath(), fs::copy_options::recursive);
    state.ResumeTiming();
    way(copyPath());
  };
}

int visit(const std::string& tree) {
  const std::unique_ptr<GFile, decltype(&g_object_unref)> root(g_file_new_for_path(tree.c_str()),
                                                               &g_object_unref);
  int count = 0;
  Qiv::traverseFiles(
      root.get(), [&](GFile*) { ++count; }, nullptr, nullptr);
  return count;
}

int visitByFilesystem(const std::string& tree) {
  int count = 0;
  for (const auto& entry : fs::recursive_directory_iterator(tree))
    count += entry.is_regular_file();
  return count;
}

int visitByNftw(const std::string& tree) {
  static int count;
  count = 0;
  const auto visit = [](const char*, const struct stat*, int type, FTW*) {
    count += type == FTW_F;
    return 0;
  };
  nftw(tree.c_str(), visit, 8, FTW_PHYS);
  return count;
}

int visitByPoco(const std::string& tree) {
  int count = 0;
  for (Poco::SimpleRecursiveDirectoryIterator file(tree), end; file != end; ++file)
    count += file->isFile();
  return count;
}

void removeByNftw(const std::string& tree) {
  const auto removeOne = [](const char* path, const struct stat*, int, FTW*) {
    return std::remove(path);
  };
  nftw(tree.c_str(), removeOne, 8, FTW_DEPTH | FTW_PHYS);
}

void addTrees() {
  const std::string tree = makeTree();
  const auto copy = [](auto& from, auto& to) { Qiv::copy_recursive(from, to); };
  const auto copyByFilesystem = [](auto& from, auto& to) {
    fs::copy(from, to, fs::copy_options::recursive);
  };
  const auto copyByPoco = [](auto& from, auto& to) { Poco::File(from).copyTo(to); };
  const auto remove = [](auto& path) { Qiv::directory_remove_all(path); };
  const auto removeByFilesystem = [](auto& path) { fs::remove_all(path); };
  const auto removeByPoco = [](auto& path) { Poco::File(path).remove(true); };

  copy(tree, copyPath());
  const bool same = cross::execPipe(("diff -r " + tree + " " + copyPath()).c_str()).empty();
  remove(copyPath());
  if (!same || fs::exists(copyPath())) {
    std::cerr << "trees: not copied or not removed\n";
    std::exit(1);
  }

  constexpr const char* filesystem = "std::filesystem";
  bench::Row("tree of 2,000 files: copy", 1, copying(tree, copy))
      .peer(filesystem, copying(tree, copyByFilesystem))
      .peer("POCO", copying(tree, copyByPoco));
  bench::Row("tree of 2,000 files: remove", 1.05, removing(tree, remove))
      .peer(filesystem, removing(tree, removeByFilesystem))
      .peer("nftw", removing(tree, removeByNftw))
      .peer("POCO", removing(tree, removeByPoco));
  bench::Row(
      "tree of 2,000 files: visit", 1.5, [=] { return visit(tree); },
      [=] { return visitByNftw(tree); })
      .peer(filesystem, [=] { return visitByFilesystem(tree); })
      .peer("POCO", [=] { return visitByPoco(tree); });
}

// ---------------------------------------------------------------------------------------------
// Commands
// ---------------------------------------------------------------------------------------------

std::string captureSpawned(const char* command) {
  int pipe[2];
  if (pipe2(pipe, O_CLOEXEC) != 0)
    return {};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
  const char* const arguments[] = {"sh", "-c", command, nullptr};
  pid_t child;
  posix_spawn(&child, "/bin/sh", &actions, nullptr, const_cast<char**>(arguments), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipe[1]);
  std::string output;
  char buffer[65536];
  for (ssize_t count; (count = read(pipe[0], buffer, sizeof buffer)) > 0;)
    output.append(buffer, static_cast<std::size_t>(count));
  close(pipe[0]);
  waitpid(child, nullptr, 0);
  return output;
}

std::string captureLines(const char* command) {
  FILE* const pipe = popen(command, "r");
  std::string output;
  char buffer[8192];
  while (std::fgets(buffer, sizeof buffer, pipe))
    output += buffer;
  pclose(pipe);
  return output;
}

std::string captureByGlib(const char* command) {
  char* output = nullptr;
  g_spawn_command_line_sync(command, &output, nullptr, nullptr, nullptr);
  const std::string text = output ? output : "";
  g_free(output);
  return text;
}

void addCommands() {
  const std::string path = bench::scratchFolder() + "1 MiB";
  std::ofstream file(path);
  for (int i = 0; i < 16384; ++i)
    file << std::string(63, 'x') << '\n';
  const std::string command = "cat '" + path + "'", shell = "sh -c \"" + command + "\"";
  bench::Row(
      "command run, 1 MiB captured", 1.2, [=] { return cross::execPipe(command.c_str()); },
      [=] { return captureLines(command.c_str()); })
      .peer("posix_spawn", [=] { return captureSpawned(command.c_str()); })
      .peer("GLib", [=] { return captureByGlib(shell.c_str()); });
}

} // namespace

void bench::addFiles() {
  addCommands();
  addTrees();
}
