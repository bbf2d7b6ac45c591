#ifndef QIV_TESTS_SUPPORT_H
#define QIV_TESTS_SUPPORT_H

/// What the tests of several families share: scratch folders, child processes, fake tools.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

/// A folder that goes with the object. Paths made with "/" are strings.
class TempDir {
public:
  TempDir() { EXPECT_NE(mkdtemp(path.data()), nullptr); }
  ~TempDir() { std::filesystem::remove_all(path); }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::string operator/(const std::string& name) const { return path + "/" + name; }

  const std::string& getPath() const { return path; }

private:
  std::string path = std::filesystem::temp_directory_path() / "qivcommon-XXXXXX";
};

inline std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

inline void writeScript(const std::string& path, const std::string& body) {
  writeFile(path, "#!/bin/sh\n" + body + "\n");
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

/// Puts a folder first on PATH as long as it lives.
class PathPrefix {
public:
  explicit PathPrefix(const std::string& folder) {
    setenv("PATH", (folder + ":" + old).c_str(), 1);
  }
  ~PathPrefix() { setenv("PATH", old.c_str(), 1); }
  PathPrefix(const PathPrefix&) = delete;
  PathPrefix& operator=(const PathPrefix&) = delete;

private:
  const std::string old = getenv("PATH");
};

/// Runs `body` in a forked process, for state that a process has only once. Returns what `body`
/// returns; a child that dies makes the test fail.
inline std::string inChild(const std::function<std::string()>& body) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    const std::string result = body();
    const bool written =
        write(ends[1], result.data(), result.size()) == static_cast<ssize_t>(result.size());
    _exit(written ? 0 : 1);
  }
  close(ends[1]);
  std::string result;
  char buffer[4096];
  for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
    result.append(buffer, static_cast<std::size_t>(count));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << "the child process failed";
  return result;
}

/// How many descriptors this process has open.
inline long openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// Runs `use` many times; no descriptor may be left behind.
inline void expectNoDescriptorLeft(int times, const std::function<void()>& use) {
  use(); // what stays open from the first use on is no leak
  const long before = openDescriptors();
  for (int i = 0; i < times; ++i)
    use();
  EXPECT_EQ(openDescriptors(), before);
}

} // namespace support

#endif
