#include "qiv/files.h"

#include "support.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <fcntl.h>
#include <set>
#include <sys/resource.h>

using namespace Qiv;
using support::inChild;
using support::readFile;
using support::TempDir;
using support::writeFile;
namespace fs = std::filesystem;

namespace {

// ---------------------------------------------------------------------------------------------
// Processes
// ---------------------------------------------------------------------------------------------

TEST(Process, ExecDropsOneNewline) {
  EXPECT_EQ(cross::exec("printf 'a\\n\\n'"), "a\n");
  EXPECT_EQ(cross::exec("printf 'a\\r\\n'"), "a\r");
  EXPECT_EQ(cross::exec("head -c 1000 /dev/zero | tr '\\0' x").size(), 1000U);
  EXPECT_EQ(cross::exec("true") + cross::exec(nullptr), "");
}

TEST(Process, PopenKeepsEveryByteAndTheExit) {
  EXPECT_EQ(cross::execPipe("printf 'a\\000b\\n\\n'"), std::string("a\0b\n\n", 5));
  EXPECT_EQ(cross::execPipe("head -c 3000000 /dev/zero").size(), 3000000U);
  const cross::Popen exited("exit 3"), none(nullptr);
  EXPECT_EQ(exited.status, 768);
  EXPECT_EQ(exited.exitCode, 3);
  EXPECT_EQ(cross::Popen("kill -9 $$").exitCode, 9);
  EXPECT_TRUE(!none.stream && none.status == -1 && none.exitCode == 0);
}

TEST(Process, PopenReadsOnAfterASignal) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  ualarm(20000, 20000);
  EXPECT_EQ(cross::execPipe("echo a; sleep 0.2; echo b"), "a\nb\n");
  ualarm(0, 0);
}

TEST(Process, SpawnCommandWantsOutput) {
  for (const char* command : {"true", "sh -c 'echo x; exit 1'", "no-such-program", "'", ""}) {
    char* output = nullptr;
    EXPECT_FALSE(spawn_command(command, &output)) << command;
    g_free(output);
  }
  char* output = nullptr;
  EXPECT_TRUE(spawn_command("echo x", &output));
  EXPECT_STREQ(output, "x\n");
  g_free(output);
  EXPECT_FALSE(spawn_command("echo x", nullptr) || spawn_command(nullptr, &output));
}

TEST(Process, SpawnSyncThrowsWhatStandardErrorSays) {
  const auto thrown = [](const char* command) {
    try {
      return "returned " + spawnSyncWithThrow(command);
    } catch (const std::string& message) {
      return message;
    }
  };
  EXPECT_EQ(thrown("echo 'a | b'"), "returned a | b\n");
  EXPECT_EQ(thrown("false"), "returned ");
  EXPECT_EQ(thrown("no-such x").rfind("Error net ifs cmd: no-such x\n", 0), 0U);
  EXPECT_THROW(spawnSyncWithThrow(nullptr), std::logic_error);

  testing::internal::CaptureStdout();
  EXPECT_EQ(thrown("sh -c 'echo o; echo e >&2; exit 2'"),
            "sh -c 'echo o; echo e >&2; exit 2': e\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "<sh -c 'echo o; echo e >&2; exit 2'>\n512 <err:e\n>\n<out:o\n>\n");
}

// ---------------------------------------------------------------------------------------------
// Paths and opening
// ---------------------------------------------------------------------------------------------

TEST(Path, SplitsAtBothSeparators) {
  const struct {
    const char *path, *fileName, *bareName, *directory, *withoutExtension;
  } rows[] = {
      {"C:\\a\\b.txt", "b.txt", "b", "C:\\a", "C:\\a\\b"},
      {"/a/b.tar.gz", "b.tar.gz", "b.tar", "/a", "/a/b.tar"},
      {"b.txt", "b.txt", "b", "", "b"},
      {"/a/.bashrc", ".bashrc", "", "/a", "/a/"},
      {"/a.d/b", "b", "b", "/a.d", "/a"},
      {"/a\\b/", "", "", "/a\\b", "/a\\b/"},
      {"", "", "", "", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(getPathFileName(row.path), row.fileName) << row.path;
    EXPECT_EQ(getPathFileNameWithoutExtension(row.path), row.bareName) << row.path;
    EXPECT_EQ(getPathDirectory(row.path), row.directory) << row.path;
    EXPECT_EQ(getPathWithoutExtension(row.path), row.withoutExtension) << row.path;
  }
}

/// What a stream that is opened in `mode` on a file "old" does, by the standard's own streams.
template <typename Stream, typename Open>
std::string behaviour(const TempDir& dir, Open open) {
  const std::string path = dir / "файл";
  writeFile(path, "old");
  Stream stream = open(path);
  std::string text = stream.is_open() ? "open " : stream.fail() ? "failed " : "closed ";
  if constexpr (std::is_same_v<Stream, std::ofstream>) {
    text += std::to_string(stream.tellp());
    text += stream << "new" ? "" : " unwritable";
  } else {
    text += std::string(std::istreambuf_iterator<char>(stream), {});
  }
  stream.close();
  return text + " " + readFile(path);
}

TEST(Open, FollowsTheStandardsModes) {
  const TempDir dir;
  using std::ios;
  for (int bits = 0; bits < 64; ++bits) {
    ios::openmode mode{};
    const ios::openmode all[] = {ios::in, ios::out, ios::app, ios::ate, ios::trunc, ios::binary};
    for (int i = 0; i < 6; ++i)
      if (bits >> i & 1)
        mode |= all[i];
    EXPECT_EQ(behaviour<std::ofstream>(
                  dir, [&](const std::string& path) { return openOutputFileUTF8Name(path, mode); }),
              behaviour<std::ofstream>(
                  dir, [&](const std::string& path) { return std::ofstream(path, mode); }))
        << "output mode " << bits;
    EXPECT_EQ(behaviour<std::ifstream>(
                  dir, [&](const std::string& path) { return openInputFileUTF8Name(path, mode); }),
              behaviour<std::ifstream>(
                  dir, [&](const std::string& path) { return std::ifstream(path, mode); }))
        << "input mode " << bits;
  }
}

TEST(Open, FailsClearly) {
  const TempDir dir;
  writeFile(dir / "a", "");
  for (const std::string& path : {dir / "no/such", (dir / "a") + std::string("\0b", 2)}) {
    EXPECT_TRUE(openOutputFileUTF8Name(path, std::ios::app).fail());
    EXPECT_TRUE(openInputFileUTF8Name(path, {}).fail());
    EXPECT_TRUE(!openCOutputFileUTF8Name(path) && !openCInputFileUTF8Name(path));
    EXPECT_FALSE(fileExist(path));
  }
  EXPECT_TRUE(fileExist(dir.getPath()));
}

TEST(Open, DescriptorsAreNotInherited) {
  const TempDir dir;
  const int first = dup(0); // what is opened next stands above it
  const auto out = openOutputFileUTF8Name(dir / "a", std::ios::app);
  const auto in = openInputFileUTF8Name(dir / "a", {});
  FILE* const cOut = openCOutputFileUTF8Name(dir / "b");
  FILE* const cIn = openCInputFileUTF8Name(dir / "b");
  for (int fd = first + 1; fd <= first + 4; ++fd)
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
  fclose(cOut);
  fclose(cIn);
}

TEST(FileInfo, MarksWhatDoesNotExist) {
  const TempDir dir;
  writeFile(dir / "a", "123");
  EXPECT_EQ(cross::FileInfo((dir / "a").c_str()).st.st_size, 3);
  for (const char* path : {"/no/such", "", static_cast<const char*>(nullptr)}) {
    const cross::FileInfo info(path);
    EXPECT_TRUE(info.st.st_dev == static_cast<dev_t>(-1) && info.st.st_size == 0);
  }
}

// ---------------------------------------------------------------------------------------------
// File trees. GLib's warnings are fatal here.
// ---------------------------------------------------------------------------------------------

struct FileTree : testing::Test {
  FileTree() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
  }
  ~FileTree() override { g_clear_error(&error); }

  /// Folders, a FIFO, links to a file, a folder and nothing, names that are not UTF-8.
  std::string makeTree() const {
    const std::string root = dir / "tree";
    fs::create_directories(root + "/sub/deep");
    fs::create_directories(root + "/sub/\xFD");
    for (const char* name : {"/a", "/sub/deep/b", "/sub/\xFF\xFE", "/sub/\xFD/c"})
      writeFile(root + name, name);
    mkfifo((root + "/fifo").c_str(), 0600);
    fs::create_symlink("nowhere", root + "/broken");
    fs::create_symlink("a", root + "/link");
    fs::create_directory(dir / "outside");
    writeFile(dir / "outside/kept", "kept");
    fs::create_directory_symlink(dir / "outside", root + "/sub/deep/out");
    return root;
  }

  bool failedWith(GIOErrorEnum code) {
    const bool result = g_error_matches(error, G_IO_ERROR, code);
    g_clear_error(&error);
    return result;
  }

  GFile* file(const std::string& path) {
    files.emplace_back(g_file_new_for_path(path.c_str()), g_object_unref);
    return files.back().get();
  }

  const TempDir dir;
  GError* error = nullptr;
  std::vector<std::unique_ptr<GFile, decltype(&g_object_unref)>> files;
};

TEST_F(FileTree, RemovesEverythingButWhatLinksLeadTo) {
  const std::string root = makeTree();
  fs::create_directory_symlink(dir / "outside", dir / "top");
  EXPECT_TRUE(rm_rf(file(dir / "top"), nullptr, &error));
  EXPECT_TRUE(rm_rf(file(root), nullptr, &error));
  EXPECT_EQ(error, nullptr);
  EXPECT_FALSE(fs::exists(root) || fs::is_symlink(dir / "top"));
  EXPECT_TRUE(fs::exists(dir / "outside/kept"));
}

TEST_F(FileTree, RemovesATreeDeeperThanTheDescriptorsLast) {
  std::string path = dir / "t";
  for (int i = 0; i < 300; ++i)
    path += "/d";
  fs::create_directories(path);
  const rlimit few = {64, 64};
  setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_TRUE(directory_remove_all(dir / "t"));
  EXPECT_FALSE(fs::exists(dir / "t"));
}

/// GIO takes the empty name for the working folder, and removed it with all that it held.
TEST_F(FileTree, RemovesNothingForANameOfNothing) {
  writeFile(dir / "a", "");
  fs::current_path(dir.getPath());
  for (const std::string& name : {std::string(), "a" + std::string("\0b", 2)}) {
    EXPECT_FALSE(directory_remove_all(name));
    ASSERT_TRUE(fs::exists(dir / "a"));
  }
}

TEST_F(FileTree, ReportsFailureOnce) {
  const std::string root = makeTree();
  writeFile(dir / "file", "");
  EXPECT_FALSE(directory_remove_all(dir / "missing"));
  EXPECT_FALSE(rm_rf(file(dir / "missing"), nullptr, &error));
  EXPECT_TRUE(failedWith(G_IO_ERROR_NOT_FOUND));
  EXPECT_FALSE(copy_recursive(file(root), file(dir / "file"), G_FILE_COPY_NONE, nullptr, &error));
  EXPECT_TRUE(failedWith(G_IO_ERROR_NOT_DIRECTORY));
  EXPECT_FALSE(copy_recursive(file(root), file(root + "/in"), G_FILE_COPY_NONE, nullptr, &error));
  EXPECT_TRUE(failedWith(G_IO_ERROR_WOULD_RECURSE));
  EXPECT_FALSE(rm_rf(nullptr, nullptr, &error));
  EXPECT_TRUE(failedWith(G_IO_ERROR_INVALID_ARGUMENT));

  const std::unique_ptr<GCancellable, decltype(&g_object_unref)> stop(g_cancellable_new(),
                                                                      g_object_unref);
  g_cancellable_cancel(stop.get());
  EXPECT_FALSE(rm_rf(file(root), stop.get(), &error));
  EXPECT_TRUE(failedWith(G_IO_ERROR_CANCELLED));
  EXPECT_FALSE(copy_recursive(file(root), file(dir / "c"), G_FILE_COPY_NONE, stop.get(), &error));
  EXPECT_TRUE(failedWith(G_IO_ERROR_CANCELLED));
  traverseFiles(
      file(root), [](GFile*) { ADD_FAILURE() << "visited"; }, stop.get(), &error);
  EXPECT_TRUE(failedWith(G_IO_ERROR_CANCELLED));
}

TEST_F(FileTree, CopiesAllButSpecialFiles) {
  const std::string root = makeTree();
  fs::create_directory(dir / "copy"); // an existing folder is filled
  EXPECT_TRUE(copy_recursive(root, dir / "copy"));
  EXPECT_EQ(readFile(dir / "copy/sub/deep/b"), "/sub/deep/b");
  EXPECT_EQ(readFile(dir / "copy/sub/\xFD/c"), "/sub/\xFD/c");
  EXPECT_EQ(readFile(dir / "copy/sub/\xFF\xFE"), "/sub/\xFF\xFE");
  EXPECT_EQ(readFile(dir / "copy/sub/deep/out/kept"), "kept");
  EXPECT_FALSE(fs::is_symlink(dir / "copy/sub/deep/out"));
  EXPECT_EQ(fs::read_symlink(dir / "copy/link"), "a");
  for (const char* name : {"copy/fifo", "copy/broken"})
    EXPECT_FALSE(fs::exists(fs::symlink_status(dir / name))) << name;
  EXPECT_TRUE(copy_recursive(dir / "missing", dir / "nothing"));
}

TEST_F(FileTree, VisitsRegularFilesThroughLinks) {
  const std::string root = makeTree();
  std::multiset<std::string> names;
  const auto collect = [&](GFile* visited) {
    const std::unique_ptr<char, decltype(&g_free)> name(g_file_get_basename(visited), g_free);
    names.insert(name.get());
  };
  traverseFiles(file(root), collect, nullptr, &error);
  EXPECT_EQ(names, (std::multiset<std::string>{"a", "b", "c", "kept", "link", "\xFF\xFE"}));
  EXPECT_EQ(error, nullptr);
  EXPECT_THROW(traverseFiles(file(root), {}, nullptr, nullptr), std::bad_function_call);
}

TEST_F(FileTree, VisitGoesOnPastUnreadableFolders) {
  if (geteuid() != 0)
    GTEST_SKIP() << "needs root, to give up its rights in a child";
  const std::string root = makeTree();
  fs::permissions(dir.getPath(), fs::perms::all);
  for (const char* name : {"/sub/shut", "/shut"}) {
    fs::create_directory(root + name);
    fs::permissions(root + name, fs::perms::none);
  }
  const std::string result = inChild([&] {
    int count = 0;
    if (setuid(65534) == 0)
      traverseFiles(
          file(root), [&](GFile*) { ++count; }, nullptr, &error);
    return std::to_string(count) + (error ? " and an error" : "");
  });
  EXPECT_EQ(result, "6 and an error");
}

TEST(Mkdir, IsInverted) {
  const TempDir dir;
  EXPECT_FALSE(mkdir_with_parents((dir / "a/b/c").c_str()));
  EXPECT_FALSE(mkdir_with_parents((dir / "a/b/c/").c_str()));
  EXPECT_EQ(fs::status(dir / "a/b").permissions(), fs::perms::owner_all);
  writeFile(dir / "file", "");
  EXPECT_TRUE(mkdir_with_parents((dir / "file/x").c_str()));
  EXPECT_TRUE(mkdir_with_parents(""));
  EXPECT_TRUE(mkdir_with_parents(nullptr));
}

// ---------------------------------------------------------------------------------------------
// Directories: answers last as long as a process, so each row asks in a new one
// ---------------------------------------------------------------------------------------------

TEST(Directories, FollowHomeAndUserDirs) {
  const struct {
    const char *name, *userDirs, *documents;
    bool makesDocuments;
  } rows[] = {
      {"no file", nullptr, "", true},
      {"no entry", "XDG_MUSIC_DIR=\"$HOME/M\"\n", "", true},
      {"plain", "XDG_DOCUMENTS_DIR=\"$HOME/Docs\"\n", "HOME/Docs/", false},
      {"with slash", "XDG_DOCUMENTS_DIR=\"$HOME/Docs/\"\n", "HOME/Docs/", false},
      {"home itself", "XDG_DOCUMENTS_DIR=\"$HOME/\"\n", "", true},
      {"absolute", "XDG_DOCUMENTS_DIR=\"/data/docs\"\n", "", false},
      {"home without slash", "XDG_DOCUMENTS_DIR=\"$HOME\"\n", "", false},
  };
  for (const auto& row : rows) {
    const TempDir home;
    fs::create_directory(home / ".config");
    if (row.userDirs)
      writeFile(home / ".config/user-dirs.dirs", row.userDirs);
    const std::string result = inChild([&] {
      setenv("HOME", home.getPath().c_str(), 1);
      return getQivCrossDocDir() + "\n" + getQivCrossAppCacheDir();
    });
    std::string documents = row.documents;
    if (!documents.empty())
      documents.replace(0, 4, home.getPath());
    EXPECT_EQ(result, documents + "QivCross/\n" + home.getPath() + "/.cache/QivCross/") << row.name;
    EXPECT_EQ(fs::exists(home / "Documents"), row.makesDocuments) << row.name;
  }
}

TEST(Directories, KeepTheLastDocuments) {
  const TempDir home;
  fs::create_directory(home / ".config");
  const std::string result = inChild([&] {
    setenv("HOME", home.getPath().c_str(), 1);
    std::string all;
    for (const char* value : {"\"$HOME/A\"", "\"/b\"", "\"$HOME/\"", "\"$HOME/C\""}) {
      writeFile(home / ".config/user-dirs.dirs", std::string("XDG_DOCUMENTS_DIR=") + value);
      all += cross::getDocDir() + home.getPath().size();
    }
    return all;
  });
  EXPECT_EQ(result, "/A//A//A//C/");
}

TEST(Directories, NeedHome) {
  const TempDir home;
  const std::string result = inChild([&] {
    unsetenv("HOME");
    std::string text;
    try {
      getQivCrossAppCacheDir();
    } catch (const std::logic_error& error) {
      text = error.what();
    }
    setenv("HOME", "/home/user/", 1);
    return text + " " + cross::getHomeDir();
  });
  EXPECT_EQ(result, "basic_string::_M_construct null not valid /home/user//");
}

TEST(Directories, StandBesideTheExecutable) {
  const std::string folder = fs::read_symlink("/proc/self/exe").parent_path().string() + "/";
  EXPECT_EQ(getQivCrossExeDir(), folder);
  EXPECT_EQ(getThemesDir(), folder + "Themes/");
}

TEST(Listing, EntersOnlyTheFirstFolder) {
  const TempDir dir;
  fs::create_directories(dir / "sub/sub2");
  writeFile(dir / "sub/sub2/жук", "");
  std::setlocale(LC_ALL, "C.UTF-8");
  testing::internal::CaptureStdout();
  EXPECT_EQ(cross::ls(dir.getPath().c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "жук\nD0 B6\nmbw=0436 0443\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(cross::ls("/no/such"), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open dir /no/such\n");
}

TEST(Listing, SurvivesPathsOfAnyLength) {
  const TempDir dir;
  fs::current_path(dir.getPath());
  for (int i = 0; i < 20; ++i) {
    fs::create_directory(std::string(250, 'n'));
    fs::current_path(std::string(250, 'n'));
  }
  EXPECT_EQ(cross::ls(dir.getPath().c_str()), 0);
  fs::current_path("/");
  EXPECT_EQ(std::system(("rm -r " + dir.getPath()).c_str()), 0); // too deep for std::filesystem
}

TEST(Directories, DeveloperCheckPrintsInOrder) {
  const TempDir home;
  const std::string output = inChild([&] {
    setenv("HOME", home.getPath().c_str(), 1);
    testing::internal::CaptureStdout();
    cross::dirs_test();
    return testing::internal::GetCapturedStdout();
  });
  std::size_t position = 0;
  for (const char* line :
       {"sz=1 4096 \n", "locale=C, CP=", "\nappcache=", "\nmydoc= 0x0 0x0 0x0\n",
        "glib_=", "\nCannot open dir ../1path/\n", "PATH_MAX=4096,", "\nret=0\n"})
    ASSERT_NE(position = output.find(line, position), std::string::npos) << line << output;
}

TEST(Files, LeaveNoDescriptor) {
  const TempDir dir;
  writeFile(dir / "a", "");
  support::expectNoDescriptorLeft(1000, [&] {
    openOutputFileUTF8Name(dir / "b", std::ios::app) << "x";
    openInputFileUTF8Name(dir / "b", {}).get();
    directory_remove_all(dir / "missing");
    copy_recursive(dir / "a", dir / "a");
  });
  support::expectNoDescriptorLeft(100, [] {
    cross::exec("exit 1");
    cross::execPipe("kill -9 $$");
    char* output = nullptr;
    spawn_command("no-such-program", &output);
  });
}

} // namespace
