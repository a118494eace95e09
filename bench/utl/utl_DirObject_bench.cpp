// Listing a directory of 10,000 entries.

#include "utl/utl_DirObject.h"

#include <dirent.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench_work.h"

namespace {

constexpr int kFiles = 9990;
constexpr int kDirectories = 8;  // and "." and ".."

std::filesystem::path MakeDirectory() {
  std::filesystem::path path = std::filesystem::path(bench::Scratch()) / "entries";
  std::filesystem::create_directory(path);
  for (int i = 0; i < kFiles; ++i) {
    std::ofstream(path / ("result" + std::to_string(i * 7919 % 100'000) + ".dat"));
  }
  for (int i = 0; i < kDirectories; ++i) {
    std::filesystem::create_directory(path / ("job" + std::to_string(i)));
  }
  return path;
}

template <class Use>
void ReadDirectory(const char* path, Use use) {
  DIR* const stream = opendir(path);
  while (const dirent* const entry = readdir(stream)) {
    use(*entry);
  }
  closedir(stream);
}

int Standard(const std::filesystem::path& path) {
  int count = 2;  // it leaves out "." and ".."
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    benchmark::DoNotOptimize(entry.is_directory());
    ++count;
  }
  return count;
}

}  // namespace

void bench::AddWorks() {
  const std::filesystem::path path = MakeDirectory();
  const Work work("listing 10000 entries");
  work.Coding("ours", [directory = utl_FilePath(path)] {
    const utl_DirObject listing(directory);
    return listing.FileCount() + listing.DirCount();
  });
  work.Coding("readdir that keeps names", [name = path.string()] {
    std::vector<std::string> names;
    ReadDirectory(name.c_str(),
                  [&names](const dirent& entry) { names.emplace_back(entry.d_name); });
    return static_cast<int>(names.size());
  });
  work.Coding("std::filesystem iterator", [path] { return Standard(path); });
  work.Coding("limit readdir", [name = path.string()] {
    int count = 0;
    ReadDirectory(name.c_str(), [&count](const dirent&) { ++count; });
    return count;
  });
  work.Counted();
}
