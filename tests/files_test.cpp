#include "qiv/files.h"

#include "support.h"

#include <clocale>
#include <csignal>
#include <giomm/cancellable.h>
#include <giomm/file.h>
#include <giomm/init.h>
#include <set>
#include <sys/resource.h>

using namespace Qiv;
using namespace support;
namespace fs = std::filesystem;

namespace {

TEST(Process, KeepsOutputAndExit) {
  expectNothingLeft("rounds of 9 commands that print, flood or die", rounds(100, 5000), [] {
    EXPECT_EQ(cross::exec("printf 'a\\n\\n'") + cross::exec("printf 'a\\r\\n'"), "a\na\r");
    EXPECT_EQ(cross::exec("head -c 1000 /dev/zero | tr '\\0' x").size(), 1000U);
    EXPECT_EQ(cross::exec("true") + cross::exec(nullptr) + cross::exec("exec >&-; sleep 0"), "");
    EXPECT_EQ(cross::execPipe("printf 'a\\000b\\n\\n'"), std::string("a\0b\n\n", 5));
    EXPECT_EQ(cross::execPipe("head -c 300000 /dev/zero").size(), 300000U);
    const cross::Popen exited("exit 3"), killed("kill -9 $$"), none(nullptr);
    EXPECT_TRUE(exited.status == 768 && exited.exitCode == 3 && killed.exitCode == 9);
    EXPECT_TRUE(!none.stream && none.status == -1 && none.exitCode == 0);
  });
  sysv_signal(SIGALRM, [](int) {}); // interrupts what it finds reading
  ualarm(100000, 0);
  EXPECT_EQ(cross::execPipe("echo a; sleep 0.3; echo b"), "a\nb\n");
}

TEST(Process, SpawnsWithoutAShell) {
  g_log_set_always_fatal(G_LOG_LEVEL_CRITICAL);
  /// What either function gives, and what the second one prints.
  const auto outcome = [](const char* command) {
    char* output = nullptr;
    std::string text = spawn_command(command, &output) ? output : "- ";
    g_free(output);
    testing::internal::CaptureStdout();
    try {
      text += spawnSyncWithThrow(command);
    } catch (const std::string& message) {
      text += "thrown " + message.substr(0, message.rfind('\n'));
    }
    return text + testing::internal::GetCapturedStdout();
  };
  const std::pair<const char*, const char*> rows[] = {
      {"echo 'a | b'", "a | b\na | b\n<echo 'a | b'>\n0 <err:>\n<out:a | b\n>\n"},
      {"true", "- <true>\n0 <err:>\n<out:>\n"},
      {"sh -c 'echo x; kill $$'", "- x\n<sh -c 'echo x; kill $$'>\n15 <err:>\n<out:x\n>\n"},
      {"sh -c 'echo e >&2'",
       "- thrown sh -c 'echo e >&2': e<sh -c 'echo e >&2'>\n0 <err:e\n>\n<out:>\n"},
      {"no-such x", "- thrown Error net ifs cmd: no-such x<no-such x>\n"},
      {"'", "- thrown Error net ifs cmd: '<'>\n"},
      {"", "- thrown Error net ifs cmd: <>\n"}};
  expectNothingLeft("rounds of 14 spawned commands, missing ones too", rounds(50, 1500), [&] {
    for (const auto& [command, text] : rows)
      EXPECT_EQ(outcome(command), text);
  });
  char* output = nullptr;
  EXPECT_FALSE(spawn_command("echo x", nullptr) || spawn_command(nullptr, &output));
  EXPECT_THROW(spawnSyncWithThrow(nullptr), std::logic_error);
}

TEST(Open, FollowsTheStandardsModes) {
  const TempDir dir;
  const std::string path = dir / "файл";
  /// Where the stream stands, what it writes, what it can read then, what it leaves behind.
  const auto behaviour = [&](auto stream) {
    std::filebuf& buffer = *stream.rdbuf();
    const std::vector<std::string> facts = {std::to_string(buffer.pubseekoff(0, std::ios::cur)),
                                            std::to_string(buffer.sputn("new", 3)),
                                            std::to_string(buffer.pubseekpos(0)),
                                            {std::istreambuf_iterator<char>(&buffer), {}},
                                            (buffer.close(), readFile(path))};
    writeFile(path, "old");
    return facts;
  };
  writeFile(path, "old");
  for (int bits = 0; bits < 64; ++bits) {
    const auto mode = static_cast<std::ios::openmode>(bits); // libstdc++ has six
    EXPECT_EQ(behaviour(openOutputFileUTF8Name(path, mode)), behaviour(std::ofstream(path, mode)));
    EXPECT_EQ(behaviour(openInputFileUTF8Name(path, mode)), behaviour(std::ifstream(path, mode)));
  }
}

TEST(Open, LeavesNoDescriptorHereNorInPrograms) {
  const TempDir dir;
  const std::string a = dir / "a", inherited = cross::exec("ls /proc/self/fd");
  writeFile(a, "123");
  const auto open = [&] {
    using CFile = std::unique_ptr<FILE, decltype(&fclose)>;
    return std::tuple(openOutputFileUTF8Name(a, std::ios::app), openInputFileUTF8Name(a, {}),
                      CFile(openCInputFileUTF8Name(a), &fclose),
                      CFile(openCOutputFileUTF8Name(dir / "b"), &fclose));
  };
  const auto& [out, in, cIn, cOut] = open();
  EXPECT_TRUE(out && in && cIn && cOut && fileExist(dir.getPath()));
  EXPECT_EQ(cross::exec("ls /proc/self/fd"), inherited);
  expectNothingLeft("opened files, missing ones too", rounds(1000, 10000), [&] {
    open();
    for (const std::string& path : {dir / "no/such", a + std::string("\0b", 2)})
      EXPECT_FALSE(openOutputFileUTF8Name(path, std::ios::app) || openInputFileUTF8Name(path, {}) ||
                   openCOutputFileUTF8Name(path) || openCInputFileUTF8Name(path) ||
                   fileExist(path));
  });
  const cross::FileInfo info(a.c_str()), missing("/no/such"), null(nullptr);
  EXPECT_TRUE(info.st.st_size == 3 && missing.st.st_size == 0);
  EXPECT_TRUE(missing.st.st_dev == static_cast<dev_t>(-1) && null.st.st_dev == missing.st.st_dev);
}

/// A scratch folder to work in.
struct WorkingFolder : TempDir {
  WorkingFolder() { fs::current_path(getPath()); }
  ~WorkingFolder() { fs::current_path(fs::temp_directory_path()); }
};

/// A tree in the working folder. GLib's warnings are fatal here.
struct FileTree : testing::Test {
  FileTree() {
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
    Gio::init();
    EXPECT_EQ(std::system("mkdir -p -m 700 tree tree/sub tree/sub/deep tree/sub/\xFD outside\n"
                          "for name in tree/a tree/sub/deep/b tree/sub/\xFF\xFE tree/sub/\xFD/c"
                          " outside/kept; do printf $name >$name; done; mkfifo tree/fifo\n"
                          "ln -s a tree/link; ln -s nowhere tree/broken\n"
                          "ln -s .. tree/sub/loop; ln -s ../../copy tree/sub/into\n"
                          "ln -s \"$PWD/outside\" tree/sub/deep/out"),
              0);
  }

  static Glib::RefPtr<Gio::File> file(const char* path) { return Gio::File::create_for_path(path); }

  bool fails(gboolean result, GIOErrorEnum code) {
    const bool matches = g_error_matches(error, G_IO_ERROR, code);
    g_clear_error(&error);
    return !result && matches;
  }
  /// The names of the files visited, sorted, and whether there was an error.
  std::string visited(const char* path) {
    std::multiset<std::string> names;
    const auto visit = [&](GFile* f) { names.insert(Glib::wrap(f, true)->get_basename()); };
    traverseFiles(file(path)->gobj(), visit, nullptr, &error);
    std::string text = error ? "error" : "";
    for (const std::string& name : names)
      text += " " + name;
    return text;
  }

  const WorkingFolder folder;
  GError* error = nullptr;
};

TEST_F(FileTree, IsCopiedAndVisitedWithoutSpecialFilesAndLoops) {
  expectNothingLeft("trees copied, visited and removed", rounds(100, 10000), [&] {
    fs::create_directory("copy"); // an existing folder is filled
    EXPECT_TRUE(copy_recursive("tree", "copy") && copy_recursive("missing", "nothing"));
    EXPECT_EQ(visited("copy"), " a b c kept link \xFF\xFE");
    for (const std::string name : {"/sub/deep/b", "/sub/\xFD/c", "/sub/\xFF\xFE"})
      EXPECT_EQ(readFile("copy" + name), "tree" + name);
    EXPECT_EQ(readFile("copy/sub/deep/out/kept"), "outside/kept");
    EXPECT_EQ(fs::read_symlink("copy/link"), "a");
    EXPECT_EQ(fs::symlink_status("copy/sub/deep/out").permissions(), fs::perms::owner_all);
    for (const char* name : {"copy/broken", "copy/fifo", "copy/sub/loop", "copy/sub/into"})
      EXPECT_EQ(fs::symlink_status(name).type(), fs::file_type::not_found) << name;
    EXPECT_TRUE(directory_remove_all("copy") && !fs::exists("copy"));
  });
}

TEST_F(FileTree, IsRemovedAtAnyDepthWithoutWhatLinksLeadTo) {
  // GIO takes the empty name for the working folder, and removed it with all that it held.
  for (const std::string& nothing : {std::string(), std::string("tree\0b", 6)}) {
    EXPECT_FALSE(directory_remove_all(nothing));
    ASSERT_TRUE(fs::exists("tree/sub/deep/b"));
  }
  fs::create_directory_symlink("outside", "top");
  for (const char* name : {"top", "tree"}) {
    EXPECT_TRUE(rm_rf(file(name)->gobj(), nullptr, &error) && !error) << name;
    EXPECT_EQ(fs::symlink_status(name).type(), fs::file_type::not_found);
  }
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
  expectNothingLeft("tree operations that fail", rounds(200, 10000), [&] {
    const auto tree = file("tree"), missing = file("missing");
    const auto copyFails = [&](const char* to, GCancellable* stop, GIOErrorEnum code) {
      const auto none = G_FILE_COPY_NONE;
      return fails(copy_recursive(tree->gobj(), file(to)->gobj(), none, stop, &error), code);
    };
    EXPECT_FALSE(directory_remove_all("missing"));
    EXPECT_TRUE(fails(rm_rf(missing->gobj(), nullptr, &error), G_IO_ERROR_NOT_FOUND));
    EXPECT_TRUE(fails(rm_rf(nullptr, nullptr, &error), G_IO_ERROR_INVALID_ARGUMENT));
    EXPECT_TRUE(copyFails("outside/kept", nullptr, G_IO_ERROR_NOT_DIRECTORY));
    EXPECT_TRUE(copyFails("tree/in", nullptr, G_IO_ERROR_WOULD_RECURSE));
    EXPECT_TRUE(mkdir_with_parents("tree/a/x") && mkdir_with_parents(nullptr));
    const auto cancelled = Gio::Cancellable::create();
    int visits = 0;
    const auto visit = [&](GFile*) { cancelled->cancel(), ++visits; };
    traverseFiles(tree->gobj(), visit, cancelled->gobj(), &error);
    EXPECT_TRUE(fails(FALSE, G_IO_ERROR_CANCELLED) && visits == 1);
    EXPECT_TRUE(fails(rm_rf(tree->gobj(), cancelled->gobj(), &error), G_IO_ERROR_CANCELLED));
    EXPECT_TRUE(copyFails("copy", cancelled->gobj(), G_IO_ERROR_CANCELLED));
  });
}

TEST_F(FileTree, IsVisitedPastUnreadableFolders) {
  EXPECT_EQ(mkdir("tree/shut", 0) + mkdir_with_parents("tree/sub/new/shut"), 0);
  EXPECT_EQ(fs::status("tree/sub/new").permissions(), fs::perms::owner_all);
  fs::permissions("tree/sub/new/shut", fs::perms::none);
  EXPECT_THROW(traverseFiles(file("tree")->gobj(), {}, nullptr, nullptr), std::bad_function_call);
  if (std::system("chown -R 65534 .") != 0)
    GTEST_SKIP() << "needs root, which reads every folder and can become someone who does not";
  EXPECT_EQ(visited("tree"), " a b c kept link \xFF\xFE");
  EXPECT_EQ(inChild([&] { return setuid(65534) == 0 ? visited("tree") : ""; }),
            "error a b c kept link \xFF\xFE");
}

/// What `ask` returns or throws in a fresh process whose HOME is the working folder.
std::string inHome(const char* home, const std::function<std::string()>& ask) {
  return inChild([&] {
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
  // HOME, entries of the user-dirs file one after the other, answers, whether Documents is made
  const std::tuple<const char*, const char*, const char*, bool> rows[] = {
      {".", "none", " ", true},
      {"./", "$HOME/D/", " .//D/", false},
      {".", "$HOME/", " ", true},
      {".", "$HOME", " ", false},
      {".", "/b $HOME/A /b $HOME/", "  ./A/ ./A/ ./A/", true}};
  for (const auto& row : rows) {
    const WorkingFolder folder;
    const auto ask = [&row] {
      std::istringstream entries(std::get<1>(row));
      std::string answers;
      fs::create_directory(".config");
      for (std::string entry; entries >> entry; answers += std::string(" ") + cross::getDocDir())
        if (entry != "none")
          writeFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + entry + "\"\n");
      return answers;
    };
    EXPECT_EQ(inHome(std::get<0>(row), ask), std::get<2>(row)) << std::get<1>(row);
    EXPECT_EQ(fs::exists("Documents"), std::get<3>(row)) << std::get<1>(row);
  }
  const WorkingFolder folder;
  EXPECT_EQ(inHome(".", getQivCrossDocDir), "QivCross/");
  EXPECT_EQ(inHome(nullptr, getQivCrossAppCacheDir),
            "basic_string::_M_construct null not valid later/.cache/QivCross/");
  const std::string exe = fs::read_symlink("/proc/self/exe").parent_path().string() + "/";
  EXPECT_EQ(getQivCrossExeDir() + " " + getThemesDir(), exe + " " + exe + "Themes/");
  EXPECT_EQ(std::system("mkdir .config; touch .config/user-dirs.dirs"), 0);
  inHome(".", [] {
    expectNothingLeft("", rounds(100, 10000), [] { getQivCrossDocDir() + getThemesDir(); });
    return "";
  });
  RecordProperty("with nothing left: calls for well-known folders", rounds(100, 10000));
}

TEST(Directories, DeveloperCheckListsTheFirstFolder) {
  const WorkingFolder folder;
  EXPECT_EQ(std::system("mkdir -p 1path/a/b work .config\n"
                        "touch 1path/a/b/жук .config/user-dirs.dirs"),
            0);
  const std::string output = inHome("..", [] {
    std::setlocale(LC_ALL, "C.UTF-8");
    fs::current_path("work");
    testing::internal::CaptureStdout();
    cross::dirs_test();
    const int missing = cross::ls("none");
    return testing::internal::GetCapturedStdout() + std::to_string(missing);
  });
  std::size_t position = 0;
  for (const char* line :
       {"sz=1 4096 \nlocale=C.UTF-8, CP=UTF-8\nappcache=../.cache/\nmydoc= 0x0 0x0 0x0\nglib_=",
        "\nжук\nD0 B6\nmbw=0436 0443\nPATH_MAX=4096,/", "/work\nret=0\nCannot open dir none\n-1"})
    ASSERT_NE(position = output.find(line, position), std::string::npos) << line << output;
}

TEST(Listing, SurvivesPathsOfAnyLength) {
  const WorkingFolder folder;
  for (int i = 0; i < 20; ++i, fs::current_path(std::string(250, 'n')))
    fs::create_directory(std::string(250, 'n'));
  testing::internal::CaptureStdout();
  expectNothingLeft("listings", rounds(100, 10000),
                    [&] { EXPECT_EQ(cross::ls(folder.getPath().c_str()), 0); });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "what cannot be examined is not listed";
  EXPECT_EQ(std::system(("rm -r " + folder / "n*").c_str()), 0); // too deep for std::filesystem
}

TEST(Paths, AreCutAtTheLastSeparatorOrDot) {
  // a path, its file name, that without extension, its directory, the path without extension
  const char* const rows[][5] = {{"C:\\a\\b.tar.gz", "b.tar.gz", "b.tar", "C:\\a", "C:\\a\\b.tar"},
                                 {"/a.d/b", "b", "b", "/a.d", "/a"},
                                 {"/a/.b", ".b", "", "/a", "/a/"},
                                 {"b", "b", "b", "", "b"}};
  for (const auto& [path, name, stem, directory, withoutExtension] : rows) {
    EXPECT_EQ(getPathFileName(path) + ":" + getPathFileNameWithoutExtension(path),
              std::string(name) + ":" + stem);
    EXPECT_EQ(getPathDirectory(path) + ":" + getPathWithoutExtension(path),
              std::string(directory) + ":" + withoutExtension);
  }
}

} // namespace
