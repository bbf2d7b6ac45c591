#ifndef QIV_BENCH_H
#define QIV_BENCH_H

// The rows of the performance table. Each is one operation on one input, done by this library, in
// the plain way, by peers and, where there is one, by what sets the physical limit.

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <iostream>
#include <string>
#include <type_traits>

namespace bench {

/// A way is a function without arguments, or one of the benchmark::State, whose clock it may pause.
class Row {
public:
  /// `target` is the ratio of our time to that of the best peer which we want to reach.
  template <typename Ours>
  Row(const std::string& operation, double target, Ours ours) : operation(operation) {
    add("ours", ours, target);
  }

  /// The plain way, which must give on this input what ours gives.
  template <typename Ours, typename Plain>
  Row(const std::string& operation, double target, Ours ours, Plain plain)
      : Row(operation, target, ours) {
    if (!(ours() == plain())) {
      std::cerr << operation << ": ours and the plain way differ\n";
      std::exit(1);
    }
    add("plain", plain);
  }

  template <typename Way>
  Row& peer(const std::string& name, Way way) {
    return add("peer " + name, way);
  }

  /// What cannot be beaten, such as copying the bytes or the bare system calls.
  template <typename Way>
  Row& limit(const std::string& name, Way way) {
    return add("limit " + name, way);
  }

private:
  template <typename Way>
  Row& add(const std::string& name, Way way, double target = 0) {
    benchmark::RegisterBenchmark((operation + "|" + name).c_str(), [=](benchmark::State& state) {
      for (auto _ : state)
        if constexpr (std::is_invocable_v<Way, benchmark::State&>) {
          way(state);
        } else if constexpr (std::is_void_v<std::invoke_result_t<Way>>) {
          way();
          benchmark::ClobberMemory();
        } else {
          benchmark::DoNotOptimize(way());
        }
      state.counters["target"] = target;
    })->UseRealTime();
    return *this;
  }

  const std::string operation;
};

/// A folder in a memory file system, ending with "/"; it goes when the program ends.
const std::string& scratchFolder();

void addConcurrency();
void addErrors();
void addFiles();
void addLog();
void addNet();
void addNumeric();
void addText();
void addXml();

} // namespace bench

#endif
