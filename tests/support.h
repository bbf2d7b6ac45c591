#ifndef QIV_TESTS_SUPPORT_H
#define QIV_TESTS_SUPPORT_H

/// What the tests of several families share: scratch folders, child processes, fake tools, counts.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <malloc.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

/// How often a test does what it does: often enough to see a fault, or to prove that there is none.
inline int rounds(int ordinary, int proving) {
  return getenv("QIV_PROVE") ? proving : ordinary;
}

/// A folder that goes with the object, but not in a child process. Paths made with "/" are strings.
class TempDir {
public:
  TempDir() { EXPECT_NE(mkdtemp(path.data()), nullptr); }
  ~TempDir() {
    if (getpid() == owner)
      std::filesystem::remove_all(path);
  }
  TempDir(TempDir&&) = delete;

  std::string operator/(const std::string& name) const { return path + "/" + name; }

  const std::string& getPath() const { return path; }

private:
  const pid_t owner = getpid();
  std::string path = std::filesystem::temp_directory_path() / "qivcommon-XXXXXX";
};

inline std::string readFile(const std::string& path) {
  return {std::istreambuf_iterator<char>(std::ifstream(path).rdbuf()), {}};
}

inline void writeFile(const std::string& path, const std::string& content) {
  std::ofstream(path) << content;
}

inline void writeScript(const std::string& path, const std::string& body) {
  writeFile(path, "#!/bin/sh\n" + body + "\n");
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

/// Runs `body` in processes of their own, all at once, each with its number.
inline void inProcesses(int count, const std::function<void(int)>& body) {
  for (int number = 0; number < count; ++number)
    if (fork() == 0)
      [&]() noexcept { // nothing may be thrown into the tests that follow
        alarm(250);    // nor outlive them
        body(number);
        std::exit(testing::Test::HasFailure());
      }();
  for (int status; wait(&status) != -1;)
    EXPECT_EQ(status, 0) << "a child process failed";
}

/// Puts a count of faults on record, of which there may be as many as `most`.
inline void expectAtMost(int most, const std::string& what, int count) {
  testing::Test::RecordProperty(what, count);
  EXPECT_LE(count, most) << what;
}

/// How many descriptors this process has open.
inline long openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// Calls `use` again and again: it may leave no descriptor and no memory behind.
inline void expectNothingLeft(const std::string& what, int times,
                              const std::function<void()>& use) {
  long descriptors = 0;
  std::size_t memory = 0;
  for (int i = -10 - times / 10; i < times && !testing::Test::HasFailure(); ++i, use())
    if (i == 0) // what the calls before have made and kept is no leak
      descriptors = openDescriptors(), memory = mallinfo2().uordblks;
  EXPECT_EQ(openDescriptors(), descriptors) << what;
  const std::size_t caches = 8192 + 16UL * times; // a leak has at least 32 bytes
  EXPECT_LT(mallinfo2().uordblks, memory + caches) << what;
  testing::Test::RecordProperty("with nothing left: " + what, times);
}

} // namespace support

#endif
