// File trees and commands.

#include "bench.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <qiv/files.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
using File = std::unique_ptr<GFile, Unref>;

File fileAt(const std::string& path) {
  return File(g_file_new_for_path(path.c_str()));
}

// ---------------------------------------------------------------------------------------------
// The plain GIO way: a query for each child
// ---------------------------------------------------------------------------------------------

template <typename Visit>
void forEachChild(GFile* folder, const Visit& visit) {
  const std::unique_ptr<GFileEnumerator, Unref> children(
      g_file_enumerate_children(folder, G_FILE_ATTRIBUTE_STANDARD_NAME,
                                G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr));
  while (GFileInfo* const info = g_file_enumerator_next_file(children.get(), nullptr, nullptr)) {
    const char* const name = g_file_info_get_name(info);
    visit(File(g_file_get_child(folder, name)).get(), name);
    g_object_unref(info);
  }
}

GFileType typeOf(GFile* file) {
  GFileInfo* const info = g_file_query_info(file, G_FILE_ATTRIBUTE_STANDARD_TYPE,
                                            G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr);
  const GFileType type = g_file_info_get_file_type(info);
  g_object_unref(info);
  return type;
}

void visitPlainly(GFile* file, const std::function<void(GFile*)>& visit) {
  if (typeOf(file) == G_FILE_TYPE_DIRECTORY)
    forEachChild(file, [&](GFile* child, const char*) { visitPlainly(child, visit); });
  else
    visit(file);
}

void removePlainly(GFile* file) {
  if (typeOf(file) == G_FILE_TYPE_DIRECTORY)
    forEachChild(file, [](GFile* child, const char*) { removePlainly(child); });
  g_file_delete(file, nullptr, nullptr);
}

void copyPlainly(GFile* from, GFile* to) {
  if (typeOf(from) != G_FILE_TYPE_DIRECTORY) {
    g_file_copy(from, to, G_FILE_COPY_NOFOLLOW_SYMLINKS, nullptr, nullptr, nullptr, nullptr);
    return;
  }
  g_file_make_directory(to, nullptr, nullptr);
  g_file_copy_attributes(from, to, G_FILE_COPY_NOFOLLOW_SYMLINKS, nullptr, nullptr);
  forEachChild(from, [to](GFile* child, const char* name) {
    copyPlainly(child, File(g_file_get_child(to, name)).get());
  });
}

/// What every way through GIO needs at least: g_file_copy for each file.
void copyFiles(const std::string& from, const std::string& to) {
  for (const auto& entry : fs::recursive_directory_iterator(from)) {
    const std::string copy = to + "/" + entry.path().string().substr(from.size());
    if (entry.is_directory())
      fs::create_directories(copy);
    else
      g_file_copy(fileAt(entry.path()).get(), fileAt(copy).get(), G_FILE_COPY_NOFOLLOW_SYMLINKS,
                  nullptr, nullptr, nullptr, nullptr);
  }
}

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

/// Returns how many files `visit` gives to its function.
template <typename Visit>
auto counting(Visit visit) {
  return [=] {
    int count = 0;
    visit([&](GFile*) { ++count; });
    return count;
  };
}

void addTrees() {
  const std::string tree = makeTree();
  const auto copy = [](auto& from, auto& to) { Qiv::copy_recursive(from, to); };
  const auto copyByGio = [](auto& from, auto& to) {
    copyPlainly(fileAt(from).get(), fileAt(to).get());
  };
  const auto remove = [](auto& path) { Qiv::directory_remove_all(path); };
  const auto removeByGio = [](auto& path) { removePlainly(fileAt(path).get()); };
  const auto visit = counting(
      [=](auto function) { Qiv::traverseFiles(fileAt(tree).get(), function, nullptr, nullptr); });
  const auto visitByGio =
      counting([=](auto function) { visitPlainly(fileAt(tree).get(), function); });

  const std::string other = bench::scratchFolder() + "other";
  copy(tree, copyPath());
  copyByGio(tree, other);
  const bool same = cross::execPipe(("diff -r " + copyPath() + " " + other).c_str()).empty();
  remove(copyPath());
  removeByGio(other);
  if (!same || fs::exists(copyPath()) || fs::exists(other) || visit() != visitByGio()) {
    std::cerr << "trees: ours and the plain GIO way differ\n";
    std::exit(1);
  }

  constexpr const char* gio = "GIO, a query per child";
  constexpr const char* standard = "std::filesystem";
  bench::Row("tree of 2,000 files: copy", 0.7, copying(tree, copy))
      .peer(gio, copying(tree, copyByGio))
      .limit("g_file_copy", copying(tree, copyFiles))
      .limit(standard, copying(tree, [](auto& from, auto& to) {
               fs::copy(from, to, fs::copy_options::recursive);
             }));
  bench::Row("tree of 2,000 files: remove", 0.8, removing(tree, remove))
      .peer(gio, removing(tree, removeByGio))
      .limit(standard, removing(tree, [](auto& path) { fs::remove_all(path); }));
  bench::Row("tree of 2,000 files: visit", 0.35, visit).peer(gio, visitByGio).limit(standard, [=] {
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(tree))
      count += entry.is_regular_file();
    return count;
  });
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
