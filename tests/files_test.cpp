#include "qiv/files.h"

#include "support.h"

#include <clocale>
#include <csignal>
#include <giomm/cancellable.h>
#include <giomm/file.h>
#include <giomm/init.h>
#include <numeric>
#include <set>
#include <sys/resource.h>

using namespace Qiv;
using namespace support;
namespace fs = std::filesystem;

namespace {

TEST(Process, KeepsOutputAndExit) {
  EXPECT_EQ(cross::exec("printf 'a\\n\\n'") + cross::exec("printf 'a\\r\\n'"), "a\na\r");
  EXPECT_EQ(cross::exec("head -c 1000 /dev/zero | tr '\\0' x").size(), 1000U);
  EXPECT_EQ(cross::exec("true") + cross::exec(nullptr), "");
  EXPECT_EQ(cross::execPipe("printf 'a\\000b\\n\\n'"), std::string("a\0b\n\n", 5));
  EXPECT_EQ(cross::execPipe("head -c 3000000 /dev/zero").size(), 3000000U);
  const cross::Popen exited("exit 3"), killed("kill -9 $$"), none(nullptr);
  EXPECT_TRUE(exited.status == 768 && exited.exitCode == 3 && killed.exitCode == 9);
  EXPECT_TRUE(!none.stream && none.status == -1 && none.exitCode == 0);
  sysv_signal(SIGALRM, [](int) {}); // interrupts what it finds reading
  ualarm(100000, 0);
  EXPECT_EQ(cross::execPipe("echo a; sleep 0.3; echo b"), "a\nb\n");
}

TEST(Process, SpawnCommandWantsOutput) {
  g_log_set_always_fatal(G_LOG_LEVEL_CRITICAL);
  char* output = nullptr;
  for (const char* command : {"true", "no-such-program", "sh -c 'echo x; exit 1'", "'", ""}) {
    EXPECT_FALSE(spawn_command(command, &output)) << command;
    g_free(output);
  }
  EXPECT_FALSE(spawn_command("echo x", nullptr) || spawn_command(nullptr, &output));
  EXPECT_TRUE(spawn_command("echo x", &output));
  EXPECT_STREQ(output, "x\n");
  g_free(output);
}

TEST(Process, SpawnSyncThrowsWhatStandardErrorSays) {
  const auto result = [](const char* command) {
    try {
      return "returned " + spawnSyncWithThrow(command);
    } catch (const std::string& message) {
      return message;
    }
  };
  EXPECT_EQ(result("echo 'a | b'") + result("false"), "returned a | b\nreturned ");
  EXPECT_EQ(result("no-such x").rfind("Error net ifs cmd: no-such x\n", 0), 0U);
  EXPECT_THROW(result(nullptr), std::logic_error);
  testing::internal::CaptureStdout();
  EXPECT_EQ(result("sh -c 'echo o; echo e >&2; exit 2'"),
            "sh -c 'echo o; echo e >&2; exit 2': e\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "<sh -c 'echo o; echo e >&2; exit 2'>\n512 <err:e\n>\n<out:o\n>\n");
}

TEST(Open, FollowsTheStandardsModes) {
  const TempDir dir;
  const std::string path = dir / "файл";
  /// Where the stream stands, what it writes, what it can read then, what it leaves behind.
  const auto behaviour = [&](auto stream) {
    std::filebuf& buffer = *stream.rdbuf();
    std::string text = std::to_string(buffer.pubseekoff(0, std::ios::cur)) + " ";
    text += std::to_string(buffer.sputn("new", 3)) + " ";
    buffer.pubseekpos(0);
    text.append(std::istreambuf_iterator<char>(&buffer), {});
    buffer.close();
    text += readFile(path);
    writeFile(path, "old");
    return text;
  };
  writeFile(path, "old");
  for (int bits = 0; bits < 64; ++bits) {
    const auto mode = static_cast<std::ios::openmode>(bits); // libstdc++ has six
    EXPECT_EQ(behaviour(openOutputFileUTF8Name(path, mode)), behaviour(std::ofstream(path, mode)));
    EXPECT_EQ(behaviour(openInputFileUTF8Name(path, mode)), behaviour(std::ifstream(path, mode)));
  }
}

TEST(Open, TellsOfWhatDoesNotExist) {
  const TempDir dir;
  writeFile(dir / "a", "123");
  for (const std::string& path : {dir / "no/such", (dir / "a") + std::string("\0b", 2)}) {
    EXPECT_TRUE(openOutputFileUTF8Name(path, std::ios::app).fail());
    EXPECT_TRUE(openInputFileUTF8Name(path, {}).fail());
    EXPECT_FALSE(openCOutputFileUTF8Name(path) || openCInputFileUTF8Name(path) || fileExist(path));
  }
  EXPECT_TRUE(fileExist(dir.getPath()));
  const cross::FileInfo info((dir / "a").c_str()), missing("/no/such"), null(nullptr);
  EXPECT_TRUE(info.st.st_size == 3 && missing.st.st_size == 0);
  EXPECT_TRUE(missing.st.st_dev == static_cast<dev_t>(-1) && null.st.st_dev == missing.st.st_dev);
}

TEST(Open, DescriptorsAreNotInheritedAndNoneIsLeft) {
  const TempDir dir;
  const char* const inherited = "ls /proc/self/fd";
  const std::string before = cross::exec(inherited);
  const auto out = openOutputFileUTF8Name(dir / "a", std::ios::app);
  const auto in = openInputFileUTF8Name(dir / "a", {});
  FILE* const cOut = openCOutputFileUTF8Name(dir / "b");
  FILE* const cIn = openCInputFileUTF8Name(dir / "b");
  EXPECT_EQ(cross::exec(inherited), before);
  fclose(cOut);
  fclose(cIn);
  expectNoDescriptorLeft(1000, [&] {
    openOutputFileUTF8Name(dir / "b", std::ios::app) << openInputFileUTF8Name(dir / "b", {}).get();
    directory_remove_all(dir / "missing");
    copy_recursive(dir / "a", dir / "a");
    cross::execPipe(("kill -9 $$" + cross::exec("exit 1")).c_str());
    char* output = nullptr;
    spawn_command("no-such-program", &output);
  });
}

/// A tree in the working folder. GLib's warnings are fatal here.
struct FileTree : testing::Test {
  FileTree() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
    Gio::init();
    fs::current_path(folder.getPath());
    for (const char* name : {"tree/sub/deep", "tree/sub/\xFD/", "outside"})
      EXPECT_FALSE(mkdir_with_parents(name)) << "true would tell of a failure";
    for (const char* name :
         {"tree/a", "tree/sub/deep/b", "tree/sub/\xFF\xFE", "tree/sub/\xFD/c", "outside/kept"})
      writeFile(name, name);
    mkfifo("tree/fifo", 0600);
    fs::create_symlink("nowhere", "tree/broken");
    fs::create_symlink("a", "tree/link");
    fs::create_directory_symlink(folder / "outside", "tree/sub/deep/out");
  }

  GFile* file(const char* path) {
    return files.emplace_back(Gio::File::create_for_path(path))->gobj();
  }
  bool fails(gboolean result, GIOErrorEnum code) {
    const bool matches = g_error_matches(error, G_IO_ERROR, code);
    g_clear_error(&error);
    return !result && matches;
  }

  const TempDir folder;
  GError* error = nullptr;
  std::vector<Glib::RefPtr<Gio::File>> files;
};

TEST_F(FileTree, IsRemovedAtAnyDepthWithoutWhatLinksLeadTo) {
  // GIO takes the empty name for the working folder, and removed it with all that it held.
  for (const std::string& nothing : {std::string(), std::string("tree\0b", 6)}) {
    EXPECT_FALSE(directory_remove_all(nothing));
    ASSERT_TRUE(fs::exists("tree/sub/deep/b"));
  }
  fs::create_directory_symlink("outside", "top");
  EXPECT_TRUE(rm_rf(file("top"), nullptr, &error) && rm_rf(file("tree"), nullptr, &error));
  EXPECT_FALSE(error || fs::exists("tree") || fs::is_symlink("top"));
  EXPECT_TRUE(fs::exists("outside/kept"));
  std::string deep = "tree";
  for (int i = 0; i < 300; ++i)
    deep += "/d";
  fs::create_directories(deep);
  const rlimit few = {64, 64}; // descriptors
  setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_TRUE(directory_remove_all("tree") && !fs::exists("tree"));
}

TEST_F(FileTree, ReportsFailureOnce) {
  const auto copyFails = [&](const char* to, GCancellable* stop, GIOErrorEnum code) {
    return fails(copy_recursive(file("tree"), file(to), G_FILE_COPY_NONE, stop, &error), code);
  };
  EXPECT_FALSE(directory_remove_all("missing"));
  EXPECT_TRUE(fails(rm_rf(file("missing"), nullptr, &error), G_IO_ERROR_NOT_FOUND));
  EXPECT_TRUE(fails(rm_rf(nullptr, nullptr, &error), G_IO_ERROR_INVALID_ARGUMENT));
  EXPECT_TRUE(copyFails("outside/kept", nullptr, G_IO_ERROR_NOT_DIRECTORY));
  EXPECT_TRUE(copyFails("tree/in", nullptr, G_IO_ERROR_WOULD_RECURSE));
  EXPECT_TRUE(mkdir_with_parents("tree/a/x") && mkdir_with_parents(nullptr));
  const auto cancelled = Gio::Cancellable::create();
  int visited = 0;
  const auto visit = [&](GFile*) {
    ++visited;
    cancelled->cancel();
  };
  traverseFiles(file("tree"), visit, cancelled->gobj(), &error);
  EXPECT_TRUE(fails(FALSE, G_IO_ERROR_CANCELLED) && visited == 1);
  EXPECT_TRUE(fails(rm_rf(file("tree"), cancelled->gobj(), &error), G_IO_ERROR_CANCELLED));
  EXPECT_TRUE(copyFails("copy", cancelled->gobj(), G_IO_ERROR_CANCELLED));
}

TEST_F(FileTree, IsCopiedButForSpecialFiles) {
  fs::create_directory("copy"); // an existing folder is filled
  EXPECT_TRUE(copy_recursive("tree", "copy") && copy_recursive("missing", "nothing"));
  for (const std::string name : {"/sub/deep/b", "/sub/\xFD/c", "/sub/\xFF\xFE"})
    EXPECT_EQ(readFile("copy" + name), "tree" + name);
  EXPECT_EQ(readFile("copy/sub/deep/out/kept"), "outside/kept");
  EXPECT_EQ(fs::read_symlink("copy/link"), "a");
  EXPECT_FALSE(fs::is_symlink("copy/sub/deep/out") || fs::is_symlink("copy/broken"));
  EXPECT_FALSE(fs::exists("copy/fifo"));
}

TEST_F(FileTree, IsVisitedThroughLinksAndPastUnreadableFolders) {
  EXPECT_EQ(fs::status("tree/sub").permissions(), fs::perms::owner_all);
  EXPECT_EQ(mkdir("tree/shut", 0) + mkdir("tree/sub/shut", 0), 0);
  const auto visited = [&] {
    std::multiset<std::string> names;
    const auto visit = [&](GFile* f) { names.insert(Glib::wrap(f, true)->get_basename() + " "); };
    traverseFiles(file("tree"), visit, nullptr, &error);
    return std::accumulate(names.begin(), names.end(), std::string()) + (error ? "error" : "");
  };
  EXPECT_THROW(traverseFiles(file("tree"), {}, nullptr, nullptr), std::bad_function_call);
  if (std::system("chown -R 65534 .") != 0)
    GTEST_SKIP() << "needs root, which reads every folder and can become someone who does not";
  EXPECT_EQ(visited(), "a b c kept link \xFF\xFE ");
  EXPECT_EQ(inChild([&] { return setuid(65534) == 0 ? visited() : ""; }),
            "a b c kept link \xFF\xFE error");
}

/// What `ask` returns or throws in a fresh process whose HOME is the working folder `dir`.
std::string inHome(const TempDir& dir, const char* home, const std::function<std::string()>& ask) {
  return inChild([&] {
    fs::current_path(dir.getPath());
    home ? setenv("HOME", home, 1) : unsetenv("HOME");
    try {
      return ask();
    } catch (const std::logic_error& error) {
      setenv("HOME", "later", 1);
      return error.what() + (" " + ask());
    }
  });
}

TEST(Directories, FollowHomeAndUserDirs) {
  const struct {
    const char *name, *home;
    std::vector<std::string> entries; ///< of the user-dirs file, one after the other
    const char* answers;
    bool makesDocuments;
  } rows[] = {
      {"no entry", ".", {""}, " ", true},
      {"slash at the end", "./", {"$HOME/D/"}, " .//D/", false},
      {"home itself", ".", {"$HOME/"}, " ", true},
      {"home without slash", ".", {"$HOME"}, " ", false},
      {"last one stays", ".", {"/b", "$HOME/A", "/b", "$HOME/"}, "  ./A/ ./A/ ./A/", true},
  };
  for (const auto& row : rows) {
    const TempDir dir;
    const auto ask = [&row] {
      std::string answers;
      fs::create_directory(".config");
      for (const std::string& entry : row.entries) {
        if (!entry.empty())
          writeFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + entry + "\"\n");
        answers += std::string(" ") + cross::getDocDir();
      }
      return answers;
    };
    EXPECT_EQ(inHome(dir, row.home, ask), row.answers) << row.name;
    EXPECT_EQ(fs::exists(dir / "Documents"), row.makesDocuments) << row.name;
  }
  EXPECT_EQ(inHome(TempDir(), ".", getQivCrossDocDir), "QivCross/");
  EXPECT_EQ(inHome(TempDir(), nullptr, getQivCrossAppCacheDir),
            "basic_string::_M_construct null not valid later/.cache/QivCross/");
  const std::string folder = fs::read_symlink("/proc/self/exe").parent_path().string() + "/";
  EXPECT_EQ(getQivCrossExeDir() + " " + getThemesDir(), folder + " " + folder + "Themes/");
}

TEST(Directories, DeveloperCheckListsTheFirstFolder) {
  const std::string output = inHome(TempDir(), ".", [] {
    std::setlocale(LC_ALL, "C.UTF-8");
    fs::create_directories("1path/a/b");
    writeFile("1path/a/b/жук", "");
    fs::create_directory("work");
    fs::current_path("work");
    testing::internal::CaptureStdout();
    cross::dirs_test();
    std::printf("%d\n", cross::ls("none"));
    return testing::internal::GetCapturedStdout();
  });
  std::size_t position = 0;
  for (const char* line :
       {"sz=1 4096 \nlocale=C.UTF-8, CP=UTF-8\nappcache=./.cache/\nmydoc= 0x0 0x0 0x0\nglib_=",
        "\nжук\nD0 B6\nmbw=0436 0443\nPATH_MAX=4096,/", "/work\nret=0\nCannot open dir none\n-1\n"})
    ASSERT_NE(position = output.find(line, position), std::string::npos) << line << output;
}

TEST(Listing, SurvivesPathsOfAnyLength) {
  const TempDir dir;
  fs::current_path(dir.getPath());
  for (int i = 0; i < 20; ++i, fs::current_path(std::string(250, 'n')))
    fs::create_directory(std::string(250, 'n'));
  testing::internal::CaptureStdout();
  expectNoDescriptorLeft(3, [&] { EXPECT_EQ(cross::ls(dir.getPath().c_str()), 0); });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "what cannot be examined is not listed";
  fs::current_path("/");
  EXPECT_EQ(std::system(("rm -r " + dir.getPath()).c_str()), 0); // too deep for std::filesystem
}

} // namespace
