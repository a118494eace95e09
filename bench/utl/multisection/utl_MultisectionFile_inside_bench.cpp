// Section files written and read. The yardsticks: one write() of all bytes, and
// reading the file with one checksum over it.

#include "utl/utl_MultisectionFile.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "utl/impl/crc32/utl_crc32.h"

namespace {

struct Work {
  explicit Work(const benchmark::State& state)
      : count(static_cast<int>(state.range(0))),
        size(static_cast<int>(state.range(1))),
        data(static_cast<std::size_t>(size), 'x') {
    for (int i = 0; i < count; ++i) {
      names.push_back(cow_String("section ") + cow_String(std::to_string(i).c_str()));
    }
  }
  ~Work() { std::filesystem::remove(path.c_str()); }

  void Write() const {
    utl_MultisectionFile file(path, utl_FileAccessWrite);
    for (const cow_String& name : names) {
      file.setSectionData(name, data.data(), size);
    }
    file.saveChanges();
  }

  int count;
  int size;
  std::vector<char> data;
  std::vector<cow_String> names;
  cow_String path =
      (std::filesystem::temp_directory_path() / "kstutl_bench.kdb").string().c_str();
};

void Report(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0) * state.range(1));
}

void BM_Write(benchmark::State& state) {
  const Work work(state);
  for (auto _ : state) {
    work.Write();
  }
  Report(state);
}

void BM_WriteAtOnce(benchmark::State& state) {
  const Work work(state);
  const std::vector<char> all(static_cast<std::size_t>(work.count) * work.data.size(),
                              'x');
  for (auto _ : state) {
    utl_File file(work.path, utl_FileAccessWrite, utl_FileShareDefault);
    file.Write(all.data(), static_cast<int>(all.size()));
  }
  Report(state);
}

void BM_ReadChecked(benchmark::State& state) {
  Work work(state);
  work.Write();
  for (auto _ : state) {
    utl_MultisectionFile file(work.path, utl_FileAccessRead);
    for (const cow_String& name : work.names) {
      file.getSectionData(name, work.data.data());
    }
    benchmark::ClobberMemory();
  }
  Report(state);
}

void BM_ReadAndChecksum(benchmark::State& state) {
  Work work(state);
  work.Write();
  for (auto _ : state) {
    utl_File file(work.path, utl_FileAccessRead, utl_FileShareDefault);
    for (int i = 0; i < work.count; ++i) {
      file.Read(work.data.data(), work.size);
      benchmark::DoNotOptimize(
          utl_crc32(utl_kCrc32Start, work.data.data(), work.data.size()));
    }
  }
  Report(state);
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Args({200, 1 << 20})->Args({10000, 1024})->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_Write)->Apply(Sizes);
BENCHMARK(BM_WriteAtOnce)->Apply(Sizes);
BENCHMARK(BM_ReadChecked)->Apply(Sizes);
BENCHMARK(BM_ReadAndChecksum)->Apply(Sizes);

}  // namespace
