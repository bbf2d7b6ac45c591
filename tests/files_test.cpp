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
  EXPECT_EQ(cross::exec("echo a"), "a");
  EXPECT_EQ(cross::exec("printf 'a\\n\\n'"), "a\n");
  EXPECT_EQ(cross::exec("printf 'a\\r\\n'"), "a\r");
  EXPECT_EQ(cross::exec("true"), "");
  EXPECT_EQ(cross::exec("head -c 1000 /dev/zero | tr '\\0' x").size(), 1000U);
  EXPECT_EQ(cross::exec(nullptr), "");
}

TEST(Process, ExecPipeKeepsEveryByte) {
  EXPECT_EQ(cross::execPipe("echo a"), "a\n");
  EXPECT_EQ(cross::execPipe("printf 'a\\000b\\n\\n'"), std::string("a\0b\n\n", 5));
  EXPECT_EQ(cross::execPipe("head -c 3000000 /dev/zero").size(), 3000000U);
}

TEST(Process, PopenDecodesTheExit) {
  const cross::Popen exited("echo out; exit 3");
  EXPECT_EQ(exited.status, 768);
  EXPECT_EQ(exited.exitCode, 3);
  EXPECT_EQ(exited.output, "out\n");
  EXPECT_EQ(cross::Popen("kill -9 $$").exitCode, 9);
  const cross::Popen none(nullptr);
  EXPECT_EQ(none.stream, nullptr);
  EXPECT_EQ(none.status, -1);
  EXPECT_EQ(none.exitCode, 0);
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
  const struct {
    const char* command;
    bool expected;
  } rows[] = {{"echo x", true},           {"true", false}, {"sh -c 'echo x; exit 1'", false},
              {"no-such-program", false}, {"'", false},    {nullptr, false}};
  for (const auto& row : rows) {
    char* output = nullptr;
    EXPECT_EQ(spawn_command(row.command, &output), row.expected) << row.command;
    g_free(output);
  }
  EXPECT_FALSE(spawn_command("echo x", nullptr));
}

std::string thrownBySpawn(const char* command) {
  try {
    return "returned " + spawnSyncWithThrow(command);
  } catch (const std::string& message) {
    return message;
  }
}

TEST(Process, SpawnSyncThrowsWhatStandardErrorSays) {
  EXPECT_EQ(thrownBySpawn("echo 'a | b'"), "returned a | b\n");
  EXPECT_EQ(thrownBySpawn("false"), "returned ");
  EXPECT_EQ(thrownBySpawn("sh -c 'echo bad >&2'"), "sh -c 'echo bad >&2': bad\n");
  EXPECT_EQ(thrownBySpawn("no-such-program x").rfind("Error net ifs cmd: no-such-program x\n", 0),
            0U);
  EXPECT_THROW(spawnSyncWithThrow(nullptr), std::logic_error);
}

TEST(Process, SpawnSyncEchoesTheRun) {
  testing::internal::CaptureStdout();
  thrownBySpawn("sh -c 'echo out; echo err >&2; exit 2'");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "<sh -c 'echo out; echo err >&2; exit 2'>\n512 <err:err\n>\n<out:out\n>\n");
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
  const std::string missing = dir / "no/such", cut = (dir / "a") + std::string("\0b", 2);
  for (const std::string& path : {missing, cut, std::string()}) {
    const std::ofstream out = openOutputFileUTF8Name(path, std::ios::app);
    EXPECT_TRUE(out.fail() && !out.is_open());
    const std::ifstream in = openInputFileUTF8Name(path, {});
    EXPECT_TRUE(in.fail() && !in.is_open());
    EXPECT_EQ(openCOutputFileUTF8Name(path), nullptr);
    EXPECT_EQ(openCInputFileUTF8Name(path), nullptr);
    EXPECT_FALSE(fileExist(path));
  }
}

TEST(Open, DescriptorsAreNotInherited) {
  const TempDir dir;
  std::set<std::string> before, during;
  const auto list = [] {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd"))
      names.insert(entry.path().filename());
    return names;
  };
  before = list();
  const auto out = openOutputFileUTF8Name(dir / "a", std::ios::app);
  const auto in = openInputFileUTF8Name(dir / "a", {});
  FILE* const cOut = openCOutputFileUTF8Name(dir / "b");
  FILE* const cIn = openCInputFileUTF8Name(dir / "b");
  int opened = 0;
  for (const std::string& name : list())
    if (!before.count(name)) {
      ++opened;
      EXPECT_TRUE(fcntl(std::stoi(name), F_GETFD) & FD_CLOEXEC) << name;
    }
  EXPECT_EQ(opened, 4);
  fclose(cOut);
  fclose(cIn);
}

TEST(FileInfo, MarksWhatDoesNotExist) {
  const TempDir dir;
  writeFile(dir / "a", "123");
  EXPECT_EQ(cross::FileInfo((dir / "a").c_str()).st.st_size, 3);
  for (const char* path : {"/no/such", "", static_cast<const char*>(nullptr)}) {
    const cross::FileInfo info(path);
    EXPECT_EQ(info.st.st_dev, static_cast<dev_t>(-1));
    EXPECT_EQ(info.st.st_size, 0);
  }
  EXPECT_TRUE(fileExist(dir.getPath()));
}

// ---------------------------------------------------------------------------------------------
// File trees. GLib's warnings are fatal here.
// ---------------------------------------------------------------------------------------------

struct FileTree : testing::Test {
  FileTree() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
  }
  ~FileTree() override { g_clear_error(&error); }

  /// A tree with folders, links to everything, a FIFO and names that are not UTF-8.
  std::string makeTree() const {
    const std::string root = dir / "tree";
    fs::create_directories(root + "/sub/deep");
    writeFile(root + "/a", "1");
    writeFile(root + "/sub/deep/b", "2");
    writeFile(root + "/sub/\xFF\xFE", "3");
    fs::create_directory(root + "/sub/\xFD");
    writeFile(root + "/sub/\xFD/c", "4");
    mkfifo((root + "/fifo").c_str(), 0600);
    fs::create_symlink("nowhere", root + "/broken");
    fs::create_symlink("a", root + "/link");
    return root;
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
  const std::string outside = dir / "outside";
  fs::create_directory(outside);
  writeFile(outside + "/kept", "");
  fs::create_directory_symlink(outside, root + "/sub/deep/out");
  fs::create_directory_symlink(outside, dir / "top");

  EXPECT_TRUE(rm_rf(file(dir / "top"), nullptr, &error));
  EXPECT_TRUE(rm_rf(file(root), nullptr, &error));
  EXPECT_EQ(error, nullptr);
  EXPECT_FALSE(fs::exists(root));
  EXPECT_FALSE(fs::is_symlink(dir / "top"));
  EXPECT_TRUE(fs::exists(outside + "/kept"));
}

TEST_F(FileTree, RemovesATreeDeeperThanTheDescriptorsLast) {
  std::string path = dir / "t";
  for (int i = 0; i < 300; ++i)
    path += "/d";
  fs::create_directories(path);
  inChild([&] {
    const rlimit few = {64, 64};
    setrlimit(RLIMIT_NOFILE, &few);
    return directory_remove_all(dir / "t") ? std::string() : (_exit(1), "");
  });
  EXPECT_FALSE(fs::exists(dir / "t"));
}

TEST_F(FileTree, RemoveReportsFailureOnce) {
  EXPECT_FALSE(directory_remove_all(dir / "missing"));
  EXPECT_FALSE(rm_rf(file(dir / "missing"), nullptr, &error));
  EXPECT_TRUE(g_error_matches(error, G_IO_ERROR, G_IO_ERROR_NOT_FOUND));
  g_clear_error(&error);
  EXPECT_FALSE(rm_rf(nullptr, nullptr, &error));
  EXPECT_TRUE(g_error_matches(error, G_IO_ERROR, G_IO_ERROR_INVALID_ARGUMENT));
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

TEST_F(FileTree, CancelledOperationsSayWhy) {
  const std::string root = makeTree();
  const std::unique_ptr<GCancellable, decltype(&g_object_unref)> cancellable(g_cancellable_new(),
                                                                             g_object_unref);
  g_cancellable_cancel(cancellable.get());
  const auto wasCancelled = [this] {
    const bool result = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
    g_clear_error(&error);
    return result;
  };
  EXPECT_FALSE(rm_rf(file(root), cancellable.get(), &error));
  EXPECT_TRUE(wasCancelled());
  EXPECT_FALSE(
      copy_recursive(file(root), file(dir / "copy"), G_FILE_COPY_NONE, cancellable.get(), &error));
  EXPECT_TRUE(wasCancelled());
  traverseFiles(
      file(root), [](GFile*) { ADD_FAILURE() << "visited"; }, cancellable.get(), &error);
  EXPECT_TRUE(wasCancelled());
}

TEST_F(FileTree, CopiesAllButSpecialFiles) {
  const std::string root = makeTree();
  fs::create_directory_symlink("sub", root + "/folderlink");
  for (int round = 0; round < 2; ++round) { // into an existing folder the second time
    fs::remove_all(dir / "copy/sub");
    fs::remove_all(dir / "copy/folderlink");
    fs::remove(dir / "copy/a");
    fs::remove(dir / "copy/link");
    EXPECT_TRUE(copy_recursive(root, dir / "copy"));
    EXPECT_EQ(readFile(dir / "copy/sub/deep/b"), "2");
    EXPECT_EQ(readFile(dir / "copy/sub/\xFF\xFE"), "3");
    EXPECT_EQ(readFile(dir / "copy/folderlink/\xFD/c"), "4");
    EXPECT_FALSE(fs::is_symlink(dir / "copy/folderlink"));
    EXPECT_EQ(fs::read_symlink(dir / "copy/link"), "a");
    EXPECT_FALSE(fs::exists(fs::symlink_status(dir / "copy/fifo")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(dir / "copy/broken")));
  }
}

TEST_F(FileTree, CopyReportsFailureOnce) {
  const std::string root = makeTree();
  writeFile(dir / "file", "");
  EXPECT_FALSE(copy_recursive(file(root), file(dir / "file"), G_FILE_COPY_NONE, nullptr, &error));
  EXPECT_NE(error, nullptr);
  g_clear_error(&error);
  EXPECT_FALSE(
      copy_recursive(file(root), file(root + "/sub/in"), G_FILE_COPY_NONE, nullptr, &error));
  EXPECT_TRUE(g_error_matches(error, G_IO_ERROR, G_IO_ERROR_WOULD_RECURSE));
  EXPECT_FALSE(fs::exists(root + "/sub/in"));
  EXPECT_FALSE(copy_recursive(root, dir / "no/such/folder"));
  EXPECT_TRUE(copy_recursive(dir / "missing", dir / "copy"));
}

TEST_F(FileTree, VisitsRegularFilesThroughLinks) {
  const std::string root = makeTree();
  std::multiset<std::string> names;
  const auto collect = [&](GFile* visited) {
    const std::unique_ptr<char, decltype(&g_free)> name(g_file_get_basename(visited), g_free);
    names.insert(name.get());
  };
  traverseFiles(file(root), collect, nullptr, &error);
  EXPECT_EQ(names, (std::multiset<std::string>{"a", "b", "c", "link", "\xFF\xFE"}));
  EXPECT_EQ(error, nullptr);

  traverseFiles(file(dir / "missing"), collect, nullptr, &error);
  EXPECT_EQ(error, nullptr);
  traverseFiles(nullptr, collect, nullptr, &error);
  EXPECT_NE(error, nullptr);
  EXPECT_THROW(traverseFiles(file(root), {}, nullptr, nullptr), std::bad_function_call);
}

TEST_F(FileTree, VisitGoesOnPastUnreadableFolders) {
  if (geteuid() != 0)
    GTEST_SKIP() << "needs root, to give up its rights in a child";
  const std::string root = makeTree();
  fs::create_directory(root + "/sub/shut1");
  fs::create_directory(root + "/shut2");
  fs::permissions(dir.getPath(), fs::perms::all);
  for (const char* name : {"/sub/shut1", "/shut2"})
    fs::permissions(root + name, fs::perms::none);
  const std::string result = inChild([&] {
    if (setuid(65534) != 0)
      return std::string("still root");
    int count = 0;
    traverseFiles(
        file(root), [&](GFile*) { ++count; }, nullptr, &error);
    return std::to_string(count) + (error ? " and an error" : "");
  });
  EXPECT_EQ(result, "5 and an error");
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
      (void)!freopen("/dev/null", "w", stderr); // awk's complaint of a missing file
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
  const auto writeEntry = [&](const char* value) {
    writeFile(home / ".config/user-dirs.dirs", std::string("XDG_DOCUMENTS_DIR=") + value + "\n");
  };
  const std::string result = inChild([&] {
    setenv("HOME", home.getPath().c_str(), 1);
    std::string all;
    for (const char* value : {"\"$HOME/A\"", "\"/b\"", "\"$HOME/\"", "\"$HOME/C\""}) {
      writeEntry(value);
      all += cross::getDocDir() + home.getPath().size() + std::string(" ");
    }
    return all;
  });
  EXPECT_EQ(result, "/A/ /A/ /A/ /C/ ");
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
  const std::string name(250, 'n');
  for (int i = 0; i < 20; ++i) {
    fs::create_directory(name);
    fs::current_path(name);
  }
  testing::internal::CaptureStdout();
  EXPECT_EQ(cross::ls(dir.getPath().c_str()), 0);
  testing::internal::GetCapturedStdout();
  fs::current_path("/");
  (void)!std::system(("rm -rf " + dir.getPath()).c_str());
}

TEST(Directories, DeveloperCheckPrintsInOrder) {
  const TempDir home;
  const std::string output = inChild([&] {
    setenv("HOME", home.getPath().c_str(), 1);
    (void)!freopen("/dev/null", "w", stderr);
    testing::internal::CaptureStdout();
    cross::dirs_test();
    return testing::internal::GetCapturedStdout();
  });
  std::size_t position = 0;
  for (const char* line :
       {"sz=1 4096 \n", "locale=C, CP=", "\nappcache=", "\nmydoc= 0x0 0x0 0x0\n",
        "glib_=", "\nCannot open dir ../1path/\n", "PATH_MAX=4096,", "\nret=0\n"}) {
    const std::size_t found = output.find(line, position);
    EXPECT_NE(found, std::string::npos) << line << " in " << output;
    position = std::max(position, found);
  }
}

TEST(Descriptors, AreReleased) {
  const TempDir dir;
  writeFile(dir / "a", "");
  const auto useEverything = [&] {
    openOutputFileUTF8Name(dir / "b", std::ios::app) << "x";
    openInputFileUTF8Name(dir / "b", {}).get();
    directory_remove_all(dir / "missing");
    copy_recursive(dir / "a", dir / "a");
    cross::FileInfo(dir.getPath().c_str());
  };
  const auto runEverything = [] {
    cross::exec("exit 1");
    cross::execPipe("kill -9 $$");
    char* output = nullptr;
    spawn_command("no-such-program", &output);
    g_free(output);
  };
  useEverything();
  runEverything();
  const long before = support::openDescriptors();
  for (int i = 0; i < 1000; ++i)
    useEverything();
  for (int i = 0; i < 100; ++i)
    runEverything();
  EXPECT_EQ(support::openDescriptors(), before);
}

} // namespace
