#include "qiv/files.h"

#include "support.h"

#include <csignal>
#include <giomm/cancellable.h>
#include <giomm/file.h>
#include <giomm/init.h>
#include <regex>
#include <set>
#include <sys/resource.h>

using namespace Qiv;
using namespace support;
namespace fs = std::filesystem;

namespace {

std::string printed(const std::function<void()>& use) {
  testing::internal::CaptureStdout();
  use();
  return testing::internal::GetCapturedStdout();
}

TEST(Process, KeepsOutputAndExit) {
  EXPECT_EQ(cross::exec("printf 'a\\r\\n'") + cross::exec("exec >&-") + cross::exec(nullptr),
            "a\r");
  EXPECT_EQ(cross::exec("printf '>\\000%126d23\n4' 0"), ">023\n4") << "NUL hides 127 bytes at most";
  EXPECT_EQ(cross::execPipe("head -c 300000 /dev/zero").size(), 300000U);
  const cross::Popen exited("exit 3"), killed("kill -9 $$"), none(nullptr);
  EXPECT_TRUE(exited.status == 768 && exited.exitCode == 3 && killed.exitCode == 9);
  EXPECT_TRUE(!none.stream && none.status == -1 && none.exitCode == 0);
  sysv_signal(SIGALRM, [](int) {}); // interrupts what it finds reading
  ualarm(100000, 0);
  EXPECT_EQ(cross::execPipe("echo a; sleep 0.3; printf 'b\\000\n\n'"),
            std::string("a\nb\0\n\n", 6));
}

void spawnFails() {
  for (const char* command : {"sh -c 'echo e >&2'", "no-such", "'"})
    EXPECT_THROW(spawnSyncWithThrow(command), std::string);
}

TEST(Process, SpawnsWithoutAShell) {
  char* output = nullptr;
  EXPECT_FALSE(spawn_command("no-such", &output) || output || spawn_command("pwd", nullptr));
  EXPECT_TRUE(spawn_command("echo 'a | b'", &output));
  EXPECT_STREQ(output, "a | b\n");
  g_free(output);
  EXPECT_EQ(printed([] { EXPECT_EQ(spawnSyncWithThrow("sh -c 'echo x; kill $$'"), "x\n"); }),
            "<sh -c 'echo x; kill $$'>\n15 <err:>\n<out:x\n>\n");
  EXPECT_EQ(printed(spawnFails), "<sh -c 'echo e >&2'>\n0 <err:e\n>\n<out:>\n<no-such>\n<'>\n");
}

/// A tree in a scratch folder to work in. GLib's warnings are fatal here.
struct Files : testing::Test {
  Files() {
    g_log_set_always_fatal(GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
    Gio::init();
    fs::current_path(folder.getPath());
    cross::exec(
        "mkdir -p -m 700 tree tree/sub tree/sub/deep tree/sub/\xFD outside .config\n"
        "for name in tree/a tree/sub/deep/b tree/sub/\xFF\xFE tree/sub/\xFD/c outside/kept\n"
        "do printf $name >$name; done; mkfifo tree/fifo; touch .config/user-dirs.dirs\n"
        "ln -s a tree/link; ln -s nowhere tree/broken; ln -s .. tree/sub/loop\n"
        "ln -s ../../copy tree/sub/into; ln -s \"$PWD/outside\" tree/sub/deep/out");
  }
  ~Files() { fs::current_path("/"); }

  /// The names of the files visited, sorted, and whether there was an error.
  static std::string visited(const char* path) {
    std::multiset<std::string> names;
    const auto visit = [&](GFile* f) { names.insert(Glib::wrap(f, true)->get_basename()); };
    GError* error = nullptr;
    traverseFiles(Gio::File::create_for_path(path)->gobj(), visit, nullptr, &error);
    std::string text = error ? "error" : "";
    g_clear_error(&error);
    for (const std::string& name : names)
      text += " " + name;
    return text;
  }

  const TempDir folder;
};

TEST_F(Files, AreOpenedInTheStandardsModes) {
  const auto behaviour = [](auto stream) { // where it stands, what it writes, reads and leaves
    std::filebuf& file = *stream.rdbuf();
    std::ostringstream facts;
    facts << file.pubseekoff(0, std::ios::cur) << file.sputn("new", 3) << file.pubseekpos(0)
          << std::string(std::istreambuf_iterator<char>(&file), {});
    file.close();
    facts << readFile("файл");
    writeFile("файл", "old");
    return facts.str();
  };
  behaviour(std::ofstream());
  for (int bits = 0; bits < 64; ++bits) {
    const auto mode = static_cast<std::ios::openmode>(bits); // libstdc++ has six
    EXPECT_EQ(behaviour(openOutputFileUTF8Name("файл", mode)),
              behaviour(std::ofstream("файл", mode)));
    EXPECT_EQ(behaviour(openInputFileUTF8Name("файл", mode)),
              behaviour(std::ifstream("файл", mode)));
  }
}

/// How many of the ways to open a file succeed. No other program sees what they open.
int opened(const std::string& path) {
  const std::string inherited = cross::exec("ls /proc/self/fd");
  const auto out = openOutputFileUTF8Name(path, std::ios::app);
  const auto in = openInputFileUTF8Name(path, {});
  FILE* const files[] = {openCOutputFileUTF8Name(path), openCInputFileUTF8Name(path)};
  EXPECT_EQ(cross::exec("ls /proc/self/fd"), inherited);
  return out.is_open() + in.is_open() + fileExist(path) +
         std::count_if(files, files + 2, [](FILE* file) { return file && fclose(file) == 0; });
}

TEST_F(Files, AreOpenedForThisProgramOnly) {
  EXPECT_EQ(opened("tree/a"), 5);
  EXPECT_TRUE(openInputFileUTF8Name("/proc/self/exe", {}).is_open()) << "which is busy";
  EXPECT_EQ(opened(std::string("tree/a\0b", 8)) + opened("no/such"), 0);
  const cross::FileInfo info("outside/kept"), missing("/no/such");
  EXPECT_TRUE(info.st.st_size == 12 && missing.st.st_dev == static_cast<dev_t>(-1));
}

TEST_F(Files, AreCopiedAndVisitedWithoutSpecialFilesAndLoops) {
  fs::create_directory("copy"); // an existing folder is filled
  EXPECT_TRUE(copy_recursive("tree", "copy") && copy_recursive("missing", "nothing"));
  EXPECT_EQ(visited("copy"), " a b c kept link \xFF\xFE");
  for (const std::string name : {"/sub/deep/b", "/sub/\xFD/c", "/sub/\xFF\xFE"})
    EXPECT_EQ(readFile("copy" + name), "tree" + name);
  EXPECT_EQ(fs::read_symlink("copy/link"), "a");
  EXPECT_EQ(fs::symlink_status("copy/sub/deep/out").permissions(), fs::perms::owner_all);
  for (const char* name : {"copy/broken", "copy/fifo", "copy/sub/loop", "copy/sub/into"})
    EXPECT_EQ(fs::symlink_status(name).type(), fs::file_type::not_found) << name;
}

TEST_F(Files, AreRemovedAtAnyDepthWithoutWhatLinksLeadTo) {
  // GIO takes the empty name for the working folder, and removed it with all that it held.
  for (const std::string& nothing : {std::string(), std::string("tree\0b", 6)}) {
    EXPECT_FALSE(directory_remove_all(nothing));
    ASSERT_TRUE(fs::exists("tree/sub/deep/b"));
  }
  fs::create_directory_symlink("outside", "top");
  std::string deep = "tree";
  for (int i = 0; i < 300; ++i)
    deep += "/d";
  fs::create_directories(deep);
  const rlimit few = {64, 64}; // descriptors
  setrlimit(RLIMIT_NOFILE, &few);
  EXPECT_TRUE(directory_remove_all("top") && directory_remove_all("tree"));
  EXPECT_EQ(cross::exec("ls; ls outside"), "outside\nkept");
}

TEST_F(Files, AreVisitedPastUnreadableFolders) {
  EXPECT_EQ(mkdir("tree/shut", 0) + mkdir_with_parents("tree/sub/new/more"), 0);
  EXPECT_EQ(fs::status("tree/sub/new").permissions(), fs::perms::owner_all);
  if (cross::Popen("chown -R 65534 .").status != 0)
    GTEST_SKIP() << "needs root, which reads every folder and can become someone who does not";
  EXPECT_EQ(visited("tree"), " a b c kept link \xFF\xFE");
  EXPECT_EQ(inChild([] { return setuid(65534) == 0 ? visited("tree") : ""; }),
            "error a b c kept link \xFF\xFE");
}

TEST_F(Files, ReportFailureOnce) {
  const auto tree = Gio::File::create_for_path("tree"), in = tree->get_child("in");
  const auto cancelled = Gio::Cancellable::create();
  const auto visit = [&](GFile*) { cancelled->cancel(); };
  GError *copying = nullptr, *visiting = nullptr, *removing = nullptr;
  EXPECT_FALSE(copy_recursive(tree->gobj(), in->gobj(), G_FILE_COPY_NONE, nullptr, &copying));
  EXPECT_TRUE(g_error_matches(copying, G_IO_ERROR, G_IO_ERROR_WOULD_RECURSE));
  traverseFiles(tree->gobj(), visit, cancelled->gobj(), &visiting);
  EXPECT_TRUE(g_error_matches(visiting, G_IO_ERROR, G_IO_ERROR_CANCELLED));
  EXPECT_FALSE(rm_rf(tree->gobj(), cancelled->gobj(), &removing));
  EXPECT_TRUE(g_error_matches(removing, G_IO_ERROR, G_IO_ERROR_CANCELLED));
  for (GError* error : {copying, visiting, removing})
    g_error_free(error);
  EXPECT_TRUE(mkdir_with_parents("tree/a/x") && mkdir_with_parents(nullptr));
}

/// What `ask` returns in a fresh process with this HOME.
std::string inHome(const char* home, const std::function<std::string()>& ask) {
  return inChild([&] { return setenv("HOME", home, 1) == 0 ? ask() : ""; });
}

TEST_F(Files, AreInFoldersThatFollowHomeAndUserDirs) {
  /// What the folder of documents is with one entry of the user-dirs file after the other.
  const auto answers = [](const char* entries) {
    std::string found;
    std::istringstream in(entries);
    for (std::string entry; in >> entry; found += std::string(" ") + cross::getDocDir())
      writeFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + entry + "\"\n");
    return found;
  };
  EXPECT_EQ(inHome("./", [&] { return answers("$HOME/D/ $HOME"); }), " .//D/ .//D/");
  EXPECT_EQ(inHome(".", [&] { return answers("/b $HOME/A /b"); }), "  ./A/ ./A/");
  EXPECT_FALSE(fs::exists("Documents"));
  EXPECT_EQ(inHome(".", [&] { return answers("$HOME/"); }), " ");
  EXPECT_TRUE(fs::exists("Documents"));
  const auto later = [] {
    EXPECT_THROW((unsetenv("HOME"), getQivCrossDocDir()), std::logic_error);
    return setenv("HOME", "later", 1), getQivCrossAppCacheDir();
  };
  EXPECT_EQ(inHome("", later), "later/.cache/QivCross/");
  const std::string exe = fs::read_symlink("/proc/self/exe").parent_path().string() + "/";
  EXPECT_EQ(getQivCrossExeDir() + " " + getThemesDir(), exe + " " + exe + "Themes/");
}

TEST_F(Files, AreInFoldersThatAreKnownUntilTheProcessIsGone) {
  setenv("HOME", (folder / "home").c_str(), 1);
  const auto exitAfterUse = [] {
    std::atexit([] { // runs after the destructors of what is made from here on
      std::cerr << getQivCrossAppCacheDir() << getQivCrossDocDir() << getThemesDir();
    });
    getQivCrossAppCacheDir() + getQivCrossDocDir() + getThemesDir();
    std::exit(0);
  };
  EXPECT_EXIT(exitAfterUse(), testing::ExitedWithCode(0),
              "^" + folder / "home/.cache/QivCross/" + "QivCross//.*/Themes/$")
      << "and no word of awk";
}

TEST_F(Files, OfTheFirstFolderAreListedByTheDeveloperCheck) {
  cross::exec("mkdir -p 1path/sub gone; touch 1path/sub/xy; ln -s none gone/link");
  EXPECT_EQ(printed([] { cross::ls("gone"); }), "");
  writeFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/3456789abcDEF\"\n");
  fs::current_path("tree");
  const std::string check = inHome("..", [] { return printed(cross::dirs_test); });
  const std::regex expected(
      "sz=1 4096 \nlocale=.*, CP=.+\nappcache=../.cache/\nmydoc=../3456789abcDEF/ 0x44 0x45 0x46\n"
      "glib_=.*\nxy\n78 79\nmbw=0078 0079\nPATH_MAX=4096,/.*/tree\nret=0\n");
  EXPECT_TRUE(std::regex_match(check, expected)) << check;
}

TEST_F(Files, LeaveNothing) {
  setenv("HOME", ".", 1);
  const std::pair<const char*, std::function<void()>> uses[] = {
      {"commands", [] { cross::exec("seq 999"); }},
      {"commands that die", [] { cross::execPipe("kill $$"); }},
      {"spawned commands", [] { spawnSyncWithThrow("true"); }},
      {"spawned commands that fail", spawnFails},
      {"opened files", [] { opened("file"); }},
      {"files that cannot be opened", [] { opened("no/such"); }},
      {"trees copied, visited and removed",
       [] {
         copy_recursive("tree", "copy"), Files::visited("copy"), directory_remove_all("copy");
       }},
      {"tree operations that fail",
       [] { copy_recursive("tree", "tree/in"), Files::visited("no"), directory_remove_all("no"); }},
      {"listings", [] { cross::ls("tree"), cross::ls("no"); }},
      {"well-known folders", [] { getQivCrossDocDir() + getThemesDir(); }}};
  for (const auto& [what, use] : uses)
    expectNothingLeft(what, rounds(50, 10000), [&use = use] { printed(use); });
}

} // namespace
