#include "qiv/files.h"

#include "qiv/concurrency.h"
#include "support.h"

#include <csignal>
#include <fcntl.h>
#include <giomm.h>
#include <regex>
#include <set>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/xattr.h>
#include <thread>

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
  EXPECT_EQ(cross::exec("printf 'a\\r\\n'"), "a\r");
  EXPECT_EQ(cross::exec("printf '>\\000%126d23\n4' 0"), ">023\n4") << "NUL hides 127 bytes at most";
  EXPECT_EQ(cross::exec("yes 123456789 | head -c 10000000").size(), 9999999U) << "in no time";
  EXPECT_NE(std::freopen("/proc/version", "r", stdin), nullptr);
  EXPECT_EQ(cross::exec("cut -c 1-5"), "Linux") << "has the input of the caller";
  EXPECT_EQ(cross::Popen("exit 3").exitCode, 3);
  EXPECT_EQ(cross::Popen("kill -9 $$").exitCode, 9);
  EXPECT_EQ(cross::Popen(nullptr).stream, nullptr);
  EXPECT_EQ(cross::execPipe("echo a; printf 'b\\000\n\n'"), std::string("a\nb\0\n\n", 6));
}

void spawnFails() {
  for (const char* command : {"sh -c 'echo e >&2'", "no-such", "'"})
    EXPECT_THROW(spawnSyncWithThrow(command), std::string);
}

TEST(Process, SpawnsWithoutAShell) {
  const TempDir dir;
  const std::string script = dir / "script";
  cross::exec(("echo 'echo $# $2' >" + script + "; chmod +x " + script).c_str());
  char* output = nullptr;
  EXPECT_TRUE(spawn_command((script + " 'a b' | c").c_str(), &output));
  EXPECT_STREQ(output, "3 |\n") << "though it does not name its interpreter";
  g_free(output);
  EXPECT_FALSE(spawn_command("no-such", &output));
  EXPECT_FALSE(spawn_command(nullptr, &output));
  EXPECT_FALSE(spawn_command("true", nullptr));
  EXPECT_FALSE(spawn_command("sh -c 'head -c 200000 /dev/zero >&2'", &output)) << "more than waits";
  g_free(output);
  EXPECT_EQ(printed([] { EXPECT_EQ(spawnSyncWithThrow("sh -c 'wc -c; kill $$'"), "0\n"); }),
            "<sh -c 'wc -c; kill $$'>\n15 <err:>\n<out:0\n>\n");
  EXPECT_EQ(printed(spawnFails), "<sh -c 'echo e >&2'>\n0 <err:e\n>\n<out:>\n<no-such>\n<'>\n");
}

// What of their pipes was opened in vain is closed again, or the next ones would have too few.
TEST(Process, AndCaptureNeedAFewDescriptors) {
  inProcesses(1, [](int) {
    const rlimit few = {64, 64};
    setrlimit(RLIMIT_NOFILE, &few);
    while (open("/", O_PATH | O_CLOEXEC) != -1)
      continue;
    for (int left = 0; left < 6; close(63 - left++)) {
      EXPECT_EQ(cross::execPipe("echo"), left < 2 ? "" : "\n") << left;
      char* output = nullptr;
      EXPECT_EQ(spawn_command("echo", &output), left >= 4) << left;
      g_free(output);
      StdOutCapture capture;
      capture.beginCapture();
      std::puts("printed");
      capture.endCapture();
      EXPECT_EQ(capture.getCapture(), left < 4 ? "" : "printed") << left;
    }
  });
}

void runCommands() {
  for (int i = 0; i < rounds(20, 500); ++i) {
    ASSERT_EQ(cross::execPipe("echo a | cat"), "a\n");
    ASSERT_EQ(spawnSyncWithThrow("echo b"), "b\n");
  }
}

TEST(Process, SpawnsInTwoThreadsWithoutStandardDescriptors) {
  inProcesses(8, [](int closed) { // descriptors, by their bits
    for (int fd = 0; fd < 3; ++fd)
      if (closed >> fd & 1)
        close(fd);
    std::thread other(runCommands);
    runCommands();
    other.join();
  });
}

/// A tree in a scratch folder to work in. GLib's warnings are fatal here.
struct Files : testing::Test {
  static void SetUpTestSuite() { Gio::init(); }

  Files() {
    g_log_set_always_fatal(GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL));
    setenv("HOME", ".", 1);
    fs::current_path(folder.getPath());
    cross::exec(
        "mkdir -p -m 700 tree tree/sub tree/sub/deep tree/sub/\xFD outside .config\n"
        "for name in tree/a tree/sub/deep/b tree/sub/\xFF\xFE tree/sub/\xFD/c outside/kept\n"
        "do printf $name >$name; done; mkfifo tree/fifo; touch .config/user-dirs.dirs\n"
        "ln -s a tree/link; ln -s nowhere tree/broken; ln -s .. tree/sub/loop\n"
        "ln -s ../../copy tree/sub/into; ln -s \"$PWD/outside\" tree/sub/deep/out");
  }
  ~Files() { fs::current_path("/"); }

  /// The names of the files visited, sorted, after the error if there was one. At each `then` runs.
  std::string visited(
      const Glib::RefPtr<Gio::File>& root, const std::function<void()>& then = [] {}) {
    std::multiset<std::string> names;
    const auto visit = [&](GFile* file) {
      names.insert(Glib::wrap(file, true)->get_basename());
      then();
    };
    GError* error = nullptr;
    traverseFiles(root->gobj(), visit, canceller->gobj(), &error);
    std::string text = error ? error->message : "";
    g_clear_error(&error);
    for (const std::string& name : names)
      text += " " + name;
    return text;
  }

  /// The code of the error with which `use` fails, whose text begins with `where`.
  static int codeOf(const std::function<gboolean(GError**)>& use, const std::string& where) {
    GError* error = nullptr;
    EXPECT_FALSE(use(&error));
    EXPECT_EQ(std::string(error->message).substr(0, where.size()), where);
    const int code = error->domain == G_IO_ERROR ? error->code : -1;
    g_error_free(error);
    return code;
  }

  gboolean copy(const char* from, const char* to, GFileCopyFlags flags = G_FILE_COPY_NONE,
                GError** error = nullptr) {
    return copy_recursive(at(from)->gobj(), at(to)->gobj(), flags, canceller->gobj(), error);
  }
  int copyCode(const char* from, const char* to, const std::string& where,
               GFileCopyFlags flags = G_FILE_COPY_NONE) {
    return codeOf([=](GError** e) { return copy(from, to, flags, e); }, where);
  }
  int removalCode(const char* path, const std::string& where) {
    return codeOf([=](GError** e) { return rm_rf(at(path)->gobj(), canceller->gobj(), e); }, where);
  }

  static constexpr auto at = Gio::File::create_for_path;
  const TempDir folder;
  const Glib::RefPtr<Gio::Cancellable> canceller = Gio::Cancellable::create();
};

TEST_F(Files, AreOpenedInTheStandardsModes) {
  const auto behaviour = [](auto stream) { // where it stands, what it writes, reads and leaves
    std::filebuf& file = *stream.rdbuf();
    std::ostringstream facts;
    facts << file.pubseekoff(0, std::ios::cur) << file.sputn("new", 3) << file.pubseekpos(0)
          << std::string(std::istreambuf_iterator<char>(&file), {});
    file.close();
    facts << readFile("ж");
    writeFile("ж", "old");
    return facts.str();
  };
  behaviour(std::ofstream());
  for (int bits = 0; bits < 64; ++bits) {
    const auto mode = static_cast<std::ios::openmode>(bits); // libstdc++ has six
    EXPECT_EQ(behaviour(openOutputFileUTF8Name("ж", mode)), behaviour(std::ofstream("ж", mode)));
    EXPECT_EQ(behaviour(openInputFileUTF8Name("ж", mode)), behaviour(std::ifstream("ж", mode)));
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
  EXPECT_EQ(opened(std::string("tree/a\0b", 8)), 0);
  EXPECT_EQ(opened("no/such"), 0);
  openOutputFileUTF8Name("new", std::ios::out);
  EXPECT_EQ(cross::exec("touch made; stat -c %a new made | uniq | wc -l"), "1");
  EXPECT_EQ(cross::FileInfo("/no/such").st.st_dev, static_cast<dev_t>(-1));
}

TEST_F(Files, AreCopiedAndVisitedWithoutSpecialFilesAndLoops) {
  EXPECT_EQ(visited(at("tree")), " a b c kept link \xFF\xFE");
  EXPECT_EQ(visited(at("tree/a")), " a");
  fs::create_directories("copy/real"); // an existing folder is filled, also through a link
  fs::create_directory_symlink("real", "copy/sub");
  EXPECT_TRUE(copy_recursive("tree", "copy"));
  EXPECT_TRUE(copy_recursive("missing", "nothing"));
  for (const std::string name : {"/deep/b", "/deep/out/kept", "/\xFD/c", "/\xFF\xFE"})
    EXPECT_EQ(readFile("copy/real" + name), readFile("tree/sub" + name)) << name;
  EXPECT_EQ(fs::read_symlink("copy/link"), "a");
  EXPECT_EQ(fs::symlink_status("copy/sub/deep/out").permissions(), fs::perms::owner_all);
  for (const char* name : {"copy/broken", "copy/fifo", "copy/sub/loop", "copy/sub/into"})
    EXPECT_EQ(fs::symlink_status(name).type(), fs::file_type::not_found) << name;
}

TEST_F(Files, AreCopiedAsTheyAre) {
  cross::exec("chmod 640 tree/a; TZ= touch -d '2001-02-03 04:05:06.123456789' tree/a");
  setxattr("tree/a", "user.note", "short", 5, 0);
  setxattr("tree/a", "user.empty", "", 0, 0);
  EXPECT_TRUE(copy("tree", "copy"));
  EXPECT_EQ(cross::exec("TZ= stat -c '%a %y' copy/a"), "640 2001-02-03 04:05:06.123456789 +0000");
  for (const char* name : {"user.note", "user.empty"})
    EXPECT_EQ(getxattr("copy/a", name, nullptr, 0), getxattr("tree/a", name, nullptr, 0)) << name;
  EXPECT_EQ(fs::symlink_status("copy/link").type(), fs::file_type::regular);
  EXPECT_TRUE(copy("tree", "new", G_FILE_COPY_TARGET_DEFAULT_PERMS));
  EXPECT_EQ(cross::exec("mkdir made; stat -c %a new made | uniq | wc -l"), "1");
  cross::exec("mkdir sparse; cd sparse; truncate -s 30M inside; echo in the middle >>inside\n"
              "truncate -s 64M inside; cp inside atTheEnd; printf . >>atTheEnd");
  EXPECT_TRUE(copy_recursive("sparse", "copied"));
  EXPECT_EQ(cross::execPipe("diff -r sparse copied"), "");
  for (const char* name : {"copied/inside", "copied/atTheEnd"})
    EXPECT_LT(cross::FileInfo(name).st.st_blocks, 2048) << "of 131072: holes stay holes";
  EXPECT_TRUE(copy_recursive("/proc/version", "version"));
  EXPECT_EQ(readFile("version"), readFile("/proc/version")) << "which says that it is empty";
}

TEST_F(Files, OfOthersDoNotRunAsTheCopier) {
  cross::exec("chmod 6755 outside/kept; chown 65534:65534 tree/a; chmod 4755 tree/a");
  if (cross::FileInfo("tree/a").st.st_uid != 65534)
    GTEST_SKIP() << "needs root, which can make files of others";
  for (const auto flags :
       {G_FILE_COPY_NONE, G_FILE_COPY_NOFOLLOW_SYMLINKS, G_FILE_COPY_OVERWRITE}) {
    EXPECT_TRUE(copy("tree", "copy", flags));
    EXPECT_EQ(cross::exec("stat -c %a copy/a copy/sub/deep/out/kept; rm -r copy"), "755\n6755")
        << flags;
  }
}

TEST_F(Files, AreRemovedWithoutWhatLinksLeadTo) {
  // GIO takes the empty name for the working folder, and removed it with all that it held.
  EXPECT_FALSE(directory_remove_all(""));
  EXPECT_FALSE(directory_remove_all(std::string("tree\0b", 6)));
  EXPECT_FALSE(directory_remove_all("missing"));
  ASSERT_TRUE(fs::exists("tree/sub/deep/b"));
  fs::create_directory_symlink("outside", "top");
  EXPECT_TRUE(directory_remove_all("top"));
  EXPECT_TRUE(directory_remove_all("tree"));
  EXPECT_EQ(cross::exec("ls; ls outside"), "outside\nkept");
}

TEST_F(Files, AreNotTheHomesOfUsersWithSuchNames) {
  setenv("HOME", (folder / "tree").c_str(), 1);
  writeFile("~$report.docx", "report");
  EXPECT_TRUE(copy_recursive("~$report.docx", "~copy"));
  EXPECT_EQ(readFile("~copy"), "report");
  EXPECT_TRUE(directory_remove_all("~$report.docx"));
  ASSERT_TRUE(fs::exists("tree/a"));
  EXPECT_TRUE(directory_remove_all("~/sub"));
  EXPECT_FALSE(fs::exists("tree/sub"));
}

TEST_F(Files, InAFolderThatIsCarriedAwayAreLeftAlone) {
  cross::exec("mkdir -p 1/2/3/4/5/6/7/8/9/10/11/12; touch 1/2/3/4/5/6/7/8/9/10/11/12/deepest");
  const auto carryAway = [] { fs::rename("1/2/3", "tree/sub/3"); };
  EXPECT_EQ(visited(at("1"), carryAway), folder / "1/2/3: Stale file handle" + " deepest");
}

TEST_F(Files, AreWorkedOnAtAnyDepthWithFewDescriptorsAndALittleStack) {
  for (int i = 0; i < rounds(700, 3000) && mkdir("folder", 0700) == 0; ++i) // beyond PATH_MAX
    fs::current_path("folder");
  writeFile("deepest", "");
  fs::current_path(folder.getPath());
  inProcesses(1, [&](int) {
    const rlimit few = {64, 64}, little = {256 << 10, 256 << 10};
    setrlimit(RLIMIT_NOFILE, &few);
    setrlimit(RLIMIT_STACK, &little);
    EXPECT_TRUE(copy("folder", "copy"));
    EXPECT_TRUE(copy("copy", "again", G_FILE_COPY_OVERWRITE));
    EXPECT_EQ(visited(at("again")), " deepest");
    for (const char* tree : {"folder", "copy", "again"})
      EXPECT_TRUE(directory_remove_all(tree));
  });
}

/// Another process exchanges a file in "many" with one in "away" while `work` runs, for root one of
/// another user, who may not touch what is outside.
void whileExchanging(const char* one, const char* other, const std::function<void()>& work) {
  cross::exec(
      "rm -rf many away; mkdir -p many/sub away; mkfifo away/pipe; ln -s ../outside away/link\n"
      "touch outside/$(seq -s ' outside/' 9) many/sub/$(seq -s ' many/sub/' 9)\n"
      "chmod 755 .; chown -R 65534 many away 2>/dev/null");
  const pid_t attacker = fork();
  if (attacker == 0)
    setfsuid(65534);
  while (attacker == 0)
    renameat2(AT_FDCWD, one, AT_FDCWD, other, RENAME_EXCHANGE);
  const auto before = fs::symlink_status(one).type();
  while (fs::symlink_status(one).type() == before)
    ; // has not begun
  work();
  kill(attacker, SIGKILL);
  waitpid(attacker, nullptr, 0);
}

TEST_F(Files, ThatTurnIntoLinksAndPipesLeadNowhereAndHoldNobodyUp) {
  int touched = 0;
  for (int round = 0; round < rounds(60, 600); ++round) {
    whileExchanging("many/sub", "away/link", [&] { directory_remove_all("many"); });
    touched += cross::exec("ls outside | wc -l") != "10";
  }
  expectAtMost(0, "rounds in which files outside were removed", touched);
  whileExchanging("many/sub/5", "away/pipe", [] {
    for (int i = 0; i < rounds(100, 15000); ++i, directory_remove_all("copy"))
      EXPECT_TRUE(copy_recursive("many", "copy"));
  });
}

TEST_F(Files, ThatCannotBeCopiedAreNotLeftHalfDone) {
  cross::exec("head -c 200000 /dev/zero >tree/big; mkdir empty");
  const rlimit small = {100000, 100000}; // as on a full disk, half of it can be written
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_EQ(copyCode("tree", "copy", folder / "copy/big: "), G_IO_ERROR_FAILED);
  EXPECT_FALSE(fs::exists("copy/big"));
  EXPECT_EQ(copyCode("tree/a", "outside/kept", folder / "outside/kept: "), G_IO_ERROR_EXISTS);
  EXPECT_EQ(copyCode("tree", "tree/in", ""), G_IO_ERROR_WOULD_RECURSE);
  EXPECT_EQ(copyCode("empty", "outside/kept", folder / "outside/kept: "), G_IO_ERROR_NOT_DIRECTORY);
  EXPECT_EQ(copyCode("tree/a", "empty", folder / "empty: ", G_FILE_COPY_OVERWRITE),
            G_IO_ERROR_IS_DIRECTORY);
  EXPECT_EQ(readFile("outside/kept"), "outside/kept");
}

TEST_F(Files, InClosedFoldersAreReportedAsThat) {
  EXPECT_TRUE(mkdir_with_parents("tree/a/new"));
  EXPECT_FALSE(mkdir_with_parents("tree/shut/new"));
  EXPECT_EQ(fs::status("tree/shut/new").permissions(), fs::perms::owner_all);
  cross::exec("mkdir fixed closed; touch fixed/file; chmod 500 fixed; chmod 0 closed");
  if (cross::Popen("chmod 0 tree/shut; chown -R 65534 .").status != 0)
    GTEST_SKIP() << "needs root, which reads every folder and can become someone who does not";
  setfsuid(65534);
  const std::string where = folder / "tree/shut: ";
  EXPECT_EQ(visited(at("tree")), where + "Permission denied a b c kept link \xFF\xFE");
  EXPECT_EQ(removalCode("tree/shut", where), G_IO_ERROR_PERMISSION_DENIED);
  EXPECT_TRUE(directory_remove_all("closed"));
  EXPECT_EQ(removalCode("fixed", folder / "fixed/file: "), G_IO_ERROR_PERMISSION_DENIED);
  EXPECT_EQ(copyCode("tree", "copy", where), G_IO_ERROR_PERMISSION_DENIED);
  const rlimit none = {0, 64}, some = {64, 64};
  setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_EQ(removalCode("tree", folder / "tree: "), G_IO_ERROR_TOO_MANY_OPEN_FILES);
  setrlimit(RLIMIT_NOFILE, &some);
  setfsuid(0);
}

TEST_F(Files, AreLeftAloneFromACancellationOn) {
  const auto cancel = [&] {
    EXPECT_FALSE(canceller->is_cancelled());
    canceller->cancel();
  };
  EXPECT_EQ(visited(at("tree"), cancel).rfind("Operation was cancelled", 0), 0U);
  EXPECT_EQ(copyCode("tree", "copy", ""), G_IO_ERROR_CANCELLED);
  EXPECT_EQ(removalCode("tree", ""), G_IO_ERROR_CANCELLED);
}

TEST_F(Files, ThatOnlyGioKnowsAreCopiedAndVisitedToo) {
  writeFile("q", "<gresources><gresource "
                 "prefix='/q'><file>tree/a</file><file>q</file></gresource></gresources>");
  if (std::system("glib-compile-resources --target=files q") != 0)
    GTEST_SKIP() << "needs glib-compile-resources";
  g_resources_register(g_resource_load("files", nullptr));
  EXPECT_EQ(visited(Gio::File::create_for_uri("resource:///q")), " a q");
  EXPECT_TRUE(copy_recursive("resource:///q", "copy"));
  EXPECT_EQ(readFile("copy/tree/a"), "tree/a");
  EXPECT_EQ(readFile("copy/q"), readFile("q"));
  EXPECT_FALSE(copy_recursive("resource:///q", "copy")) << "which has the file";
  EXPECT_FALSE(directory_remove_all("resource:///q"));
}

TEST_F(Files, AreInFoldersThatFollowHomeAndUserDirsUntilTheProcessIsGone) {
  /// Tells what the folder of documents is in a fresh process, with one entry after the other.
  const auto tell = [](const char* home, const char* entries) {
    setenv("HOME", home, 1);
    std::istringstream in(entries);
    for (std::string entry; in >> entry; std::cerr << cross::getDocDir() << ';')
      writeFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"" + entry + "\"\n");
    std::exit(0);
  };
  const testing::ExitedWithCode well(0);
  EXPECT_EXIT(tell("./", "$HOME/D/ $HOME"), well, "^.//D/;.//D/;");
  EXPECT_EXIT(tell(".", "/b $HOME/A /b"), well, "^;./A/;./A/;");
  EXPECT_FALSE(fs::exists("Documents"));
  EXPECT_EXIT(tell(".", "$HOME/"), well, "^;");
  EXPECT_TRUE(fs::exists("Documents"));
  const auto askAndExit = [] {
    // Runs when objects that are made from here on are gone.
    std::atexit([] { std::cerr << getQivCrossDocDir() << getThemesDir(); });
    std::exit((getQivCrossDocDir() + getThemesDir()).empty());
  };
  EXPECT_EXIT(askAndExit(), well, "^QivCross//.*/Themes/");
  unsetenv("HOME");
  EXPECT_THROW(getQivCrossDocDir(), std::logic_error);
  EXPECT_EQ(fs::read_symlink("/proc/self/exe").replace_filename("Themes/").string(),
            getThemesDir());
}

TEST_F(Files, OfTheFirstFolderAreListedByTheDeveloperCheck) {
  cross::exec("mkdir -p 1path/sub broken; touch 1path/sub/xy; ln -s nowhere broken/link");
  EXPECT_EQ(printed([] { cross::ls("broken"); }), "") << "ends at what cannot be examined";
  writeFile(".config/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/3456789abcDEF\"\n");
  fs::current_path("tree");
  setenv("HOME", "..", 1);
  const std::string check = printed(cross::dirs_test);
  const std::regex expected(
      "sz=1 4096 \nlocale=.*, CP=.+\nappcache=../.cache/\nmydoc=../3456789abcDEF/ 0x44 0x45 0x46\n"
      "glib_=.*\nxy\n78 79\nmbw=0078 0079\nPATH_MAX=4096,/.*/tree\nret=0\n");
  EXPECT_TRUE(std::regex_match(check, expected)) << check;
}

TEST_F(Files, LeaveNothing) {
  const std::pair<const char*, std::function<void()>> uses[] = {
      {"spawned commands", spawnFails},
      {"commands and opened files", [] { opened("file"); }},
      {"listings of folders", [] { EXPECT_EQ(cross::ls("tree"), 0); }},
      {"trees copied, visited and removed, and what of that fails", [this] {
         copy_recursive("tree", "copy");
         copy_recursive("tree", "copy");
         visited(at("copy"));
         directory_remove_all("copy");
       }}};
  for (const auto& [what, use] : uses)
    expectNothingLeft(what, rounds(50, 10000), [&use = use] { printed(use); });
}

} // namespace
