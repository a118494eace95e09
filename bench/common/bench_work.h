#pragma once

// What the benchmark programs share. A program measures several works; each work is done
// by several codings, which all have to give the same result:
//
//     ours            the library's
//     naive           the definition written down without further thought
//     NAME            a peer
//     limit NAME      what no coding can be faster than, as far as is known
//
// Programs define `AddWorks`; the parts that need a peer are in files of their own,
// PROGRAM_peer_NAME.cpp, which are left out where the peer is not installed and add their
// codings by a bench::Part.

#include <benchmark/benchmark.h>

#include <concepts>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace bench {

/// Adds the program's own works.
void AddWorks();

/// Adds what the function adds, too.
struct Part {
  explicit Part(void (*add)());
};

/// Adds a benchmark.
benchmark::internal::Benchmark& Register(const std::string& name,
                                         std::function<void(benchmark::State&)> measure);

/// A result as text, by which results are compared.
template <class Result>
std::string Text(const Result& result) {
  if constexpr (std::same_as<Result, char>) {
    return std::string(1, result);
  } else if constexpr (std::is_arithmetic_v<Result>) {
    return std::to_string(result);
  } else {
    return std::string(std::string_view(result));
  }
}

/// The codings of one work.
class Work {
 public:
  /// `name` holds neither a slash nor a comma.
  explicit Work(std::string name) : name_(std::move(name)) {}

  /// The work has a number of instructions that is worth watching: it is counted over so
  /// many runs.
  const Work& Counted(int runs = 1) const;

  /// Measures `run()`, whose result is the same as that of the other codings.
  template <class Run>
  const Work& Coding(const std::string& coding, Run run) const {
    return Coding(coding, run, run);
  }

  /// Measures `run()`; `result()` gives what is compared with the other codings.
  template <class Run, class Result>
  const Work& Coding(const std::string& coding, Run run, Result result) const {
    Compare(coding, [result]() mutable { return Text(result()); });
    return Measured(coding, run);
  }

  /// Measures `run()`, whose result is another one: a limit, or a peer that does nearly
  /// the same.
  template <class Run>
  const Work& Measured(const std::string& coding, Run run) const {
    return Measured(coding, run, [] {});
  }

  /// The same; `prepare()` is called before each repetition.
  template <class Run, class Prepare>
  const Work& Measured(const std::string& coding, Run run, Prepare prepare) const {
    Register(name_ + '/' + coding, [run, prepare](benchmark::State& state) mutable {
      prepare();
      for (auto _ : state) {
        Once(run);
      }
    });
    if (coding == "ours") {
      Count([run, prepare]() mutable {
        prepare();
        Once(run);
      });
    }
    return *this;
  }

  /// Measures what `run()` says that it took, in seconds.
  template <class Run>
  const Work& Timed(const std::string& coding, Run run) const {
    Register(name_ + '/' + coding, [run](benchmark::State& state) mutable {
      for (auto _ : state) {
        state.SetIterationTime(run());
      }
    }).UseManualTime();
    return *this;
  }

 private:
  template <class Run>
  static void Once(Run& run) {
    if constexpr (std::is_void_v<std::invoke_result_t<Run&>>) {
      run();
    } else {
      benchmark::DoNotOptimize(run());
    }
    benchmark::ClobberMemory();
  }

  void Compare(const std::string& coding, std::function<std::string()> result) const;
  void Count(std::function<void()> run) const;

  std::string name_;
};

/// Bytes without a pattern, the same ones at every call.
std::string RandomBytes(std::size_t size);

/// A directory of the program's own for its files, removed at the program's end. It is
/// made in TMPDIR.
const std::string& Scratch();

}  // namespace bench
