// Listing a directory of 10,000 entries, beside the system's own call, alone and with
// its names kept, and beside the standard library's iterator.

#include <benchmark/benchmark.h>
#include <dirent.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "utl/utl_DirObject.h"

namespace {

constexpr int kFiles = 9990;
constexpr int kDirectories = 8;  // and "." and ".."
constexpr int kEntries = kFiles + kDirectories + 2;

// A directory that is removed at the end.
class ScratchDirectory {
 public:
  ScratchDirectory() : path_(std::filesystem::temp_directory_path() / "kst_dir_bench") {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directory(path_);
    for (int i = 0; i < kFiles; ++i) {
      std::ofstream(path_ / ("result" + std::to_string(i * 7919 % 100'000) + ".dat"));
    }
    for (int i = 0; i < kDirectories; ++i) {
      std::filesystem::create_directory(path_ / ("job" + std::to_string(i)));
    }
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

const ScratchDirectory& Directory() {
  static const ScratchDirectory directory;
  return directory;
}

void CheckCount(benchmark::State& state, int count) {
  if (count != kEntries) {
    state.SkipWithError("entries are missing");
  }
  state.SetItemsProcessed(state.iterations() * kEntries);
}

void BM_DirObject(benchmark::State& state) {
  const utl_FilePath directory(Directory().Path().string().c_str(), "");
  int count = 0;
  for (auto _ : state) {
    const utl_DirObject listing(directory);
    count = listing.FileCount() + listing.DirCount();
  }
  CheckCount(state, count);
}
BENCHMARK(BM_DirObject);

void BM_Readdir(benchmark::State& state) {
  const std::string path = Directory().Path().string();
  int count = 0;
  for (auto _ : state) {
    count = 0;
    DIR* stream = opendir(path.c_str());
    while (const dirent* entry = readdir(stream)) {
      benchmark::DoNotOptimize(entry->d_name[0]);
      ++count;
    }
    closedir(stream);
  }
  CheckCount(state, count);
}
BENCHMARK(BM_Readdir);

void BM_ReaddirKeepingNames(benchmark::State& state) {
  const std::string path = Directory().Path().string();
  int count = 0;
  for (auto _ : state) {
    std::vector<std::string> names;
    DIR* stream = opendir(path.c_str());
    while (const dirent* entry = readdir(stream)) {
      names.emplace_back(entry->d_name);
    }
    closedir(stream);
    count = static_cast<int>(names.size());
  }
  CheckCount(state, count);
}
BENCHMARK(BM_ReaddirKeepingNames);

void BM_FilesystemIterator(benchmark::State& state) {
  int count = 0;
  for (auto _ : state) {
    count = 2;  // it leaves out "." and ".."
    for (const auto& entry : std::filesystem::directory_iterator(Directory().Path())) {
      benchmark::DoNotOptimize(entry.is_directory());
      ++count;
    }
  }
  CheckCount(state, count);
}
BENCHMARK(BM_FilesystemIterator);

}  // namespace
