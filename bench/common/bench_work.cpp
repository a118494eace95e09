#include "bench_work.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <vector>

namespace bench {
namespace {

struct Known {
  std::vector<std::pair<std::string, std::function<std::string()>>> results;
  std::function<void()> ours;
  int counted = 0;  // runs
};

// By the works' names. Kept to the end of the process: so are the benchmarks.
std::map<std::string, Known>& Works() {
  static auto* const works = new std::map<std::string, Known>;
  return *works;
}

std::vector<void (*)()>& Parts() {
  static auto* const parts = new std::vector<void (*)()>;
  return *parts;
}

// The first characters of a result for a message.
std::string Shown(const std::string& result) {
  constexpr std::size_t kMost = 100;
  return result.size() <= kMost ? result : result.substr(0, kMost) + "...";
}

// Whether all codings of all works give the same results; says where they do not.
bool AllAgree() {
  bool agree = true;
  for (const auto& [work, known] : Works()) {
    std::string first;
    for (const auto& [coding, result] : known.results) {
      const std::string text = result();
      if (&result == &known.results.front().second) {
        first = text;
      } else if (text != first) {
        std::cerr << work << ": " << known.results.front().first << " gives \""
                  << Shown(first) << "\", " << coding << " gives \"" << Shown(text)
                  << "\"\n";
        agree = false;
      }
    }
  }
  return agree;
}

class Directory {
 public:
  Directory() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "kstutl_bench.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror(pattern.c_str());
      std::exit(1);
    }
    path_ = pattern;
  }
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

// Its calls are what callgrind is asked to count: see scripts/instructions.
extern "C" [[gnu::noinline]] void bench_counted(const std::function<void()>& run,
                                                int runs) {
  for (int i = 0; i < runs; ++i) {
    run();
  }
}

namespace {

// Does every counted work, each after it was done once before, and prints their names.
void CountInstructions() {
  for (const auto& [work, known] : Works()) {
    if (known.counted > 0) {
      known.ours();
      bench_counted(known.ours, known.counted);
      std::cout << work << '\n';
    }
  }
}

}  // namespace

Part::Part(void (*add)()) {
  Parts().push_back(add);
}

benchmark::internal::Benchmark& Register(const std::string& name,
                                         std::function<void(benchmark::State&)> measure) {
  return *benchmark::RegisterBenchmark(name.c_str(), std::move(measure));
}

const Work& Work::Counted(int runs) const {
  Works()[name_].counted = runs;
  return *this;
}

void Work::Compare(const std::string& coding, std::function<std::string()> result) const {
  Works()[name_].results.emplace_back(coding, std::move(result));
}

void Work::Count(std::function<void()> run) const {
  Works()[name_].ours = std::move(run);
}

std::string RandomBytes(std::size_t size) {
  std::mt19937 random(1);
  std::string bytes(size, ' ');
  for (char& byte : bytes) {
    byte = static_cast<char>(random());
  }
  return bytes;
}

const std::string& Scratch() {
  static const Directory directory;
  return directory.Path();
}

}  // namespace bench

// With the one argument --count nothing is measured: see CountInstructions.
int main(int argc, char** argv) {
  bench::Scratch();  // removed after everything that keeps files in it
  bench::AddWorks();
  for (void (*const add)() : bench::Parts()) {
    add();
  }
  if (argc == 2 && std::string_view(argv[1]) == "--count") {
    bench::CountInstructions();
    return 0;
  }
  if (!bench::AllAgree()) {
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
