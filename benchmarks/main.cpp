// Runs the rows of every family, interleaved: script/bench makes a table of them.

#include "bench.h"

#include <filesystem>

namespace {

struct Scratch {
  std::string folder = "/dev/shm/qiv_bench.XXXXXX";
  Scratch() {
    if (!mkdtemp(folder.data())) {
      std::perror(folder.c_str());
      std::exit(1);
    }
    // The log and the lock files follow the home folder.
    setenv("HOME", folder.c_str(), 1);
    setenv("XDG_DATA_HOME", (folder + "/data").c_str(), 1);
    folder += '/';
  }
  ~Scratch() { std::filesystem::remove_all(folder); }
};

} // namespace

const std::string& bench::scratchFolder() {
  static const Scratch scratch;
  return scratch.folder;
}

int main(int argc, char** argv) {
  bench::scratchFolder();
  bench::addErrors();
  bench::addLog();
  bench::addNet();
  bench::addNumeric();
  bench::addText();
  bench::addConcurrency();
  bench::addFiles();
  bench::addXml();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
