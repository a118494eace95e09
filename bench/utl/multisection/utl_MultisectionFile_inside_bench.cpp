// Section files written and read. The yardsticks: one write() of all bytes, with and
// without a flush (the library's saves flush), and reading the file with one checksum
// over it. The last ones show how opening, searching and saving grow with the sections.

#include "utl/utl_MultisectionFile.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "utl/impl/crc32/utl_crc32.h"

namespace {

using Save = void (utl_MultisectionFile::*)();

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

  void Write(Save save = &utl_MultisectionFile::saveChanges) const {
    utl_MultisectionFile file(path, utl_FileAccessWrite);
    for (const cow_String& name : names) {
      file.setSectionData(name, data.data(), size);
    }
    (file.*save)();
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

void BM_WriteAtomically(benchmark::State& state) {
  const Work work(state);
  for (auto _ : state) {
    work.Write(&utl_MultisectionFile::saveChangesAtomically);
  }
  Report(state);
}

template <bool kFlushes>
void BM_WriteAtOnce(benchmark::State& state) {
  const Work work(state);
  const std::vector<char> all(static_cast<std::size_t>(work.count) * work.data.size(),
                              'x');
  for (auto _ : state) {
    utl_File file(work.path, utl_FileAccessWrite, utl_FileShareDefault);
    file.Write(all.data(), static_cast<int>(all.size()));
    if (kFlushes) {
      file.Flush();
    }
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
          utl_crc32(kCrc32Start, work.data.data(), work.data.size()));
    }
  }
  Report(state);
}

void SaveOneChanged(benchmark::State& state, Save save) {
  const Work work(state);
  work.Write();
  utl_MultisectionFile file(work.path, utl_FileAccessUpdate);
  for (auto _ : state) {
    file.setSectionData(work.names[work.names.size() / 2], work.data.data(), work.size);
    (file.*save)();
  }
  Report(state);
}

void BM_SaveOneChanged(benchmark::State& state) {
  SaveOneChanged(state, &utl_MultisectionFile::saveChanges);
}

void BM_SaveOneChangedAtomically(benchmark::State& state) {
  SaveOneChanged(state, &utl_MultisectionFile::saveChangesAtomically);
}

void BM_Open(benchmark::State& state) {
  const Work work(state);
  work.Write();
  for (auto _ : state) {
    utl_MultisectionFile file(work.path, utl_FileAccessRead);
  }
  state.SetComplexityN(state.range(0));
}

void BM_OpenAndFirstSearch(benchmark::State& state) {
  const Work work(state);
  work.Write();
  for (auto _ : state) {
    utl_MultisectionFile file(work.path, utl_FileAccessRead);
    benchmark::DoNotOptimize(file.hasSection(work.names.back()));
  }
  state.SetComplexityN(state.range(0));
}

void BM_SearchAll(benchmark::State& state) {
  const Work work(state);
  work.Write();
  utl_MultisectionFile file(work.path, utl_FileAccessRead);
  for (auto _ : state) {
    for (const cow_String& name : work.names) {
      benchmark::DoNotOptimize(file.hasSection(name));
    }
  }
  state.SetComplexityN(state.range(0));
}

void BM_SetAll(benchmark::State& state) {
  const Work work(state);
  for (auto _ : state) {
    utl_MultisectionFile file(work.path, utl_FileAccessWrite);
    for (const cow_String& name : work.names) {
      file.setSectionData(name, work.data.data(), work.size);
    }
  }
  state.SetComplexityN(state.range(0));
}

void BM_SaveAll(benchmark::State& state) {
  const Work work(state);
  for (auto _ : state) {
    work.Write();
  }
  state.SetComplexityN(state.range(0));
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->Args({200, 1 << 20})->Args({10000, 1024})->Unit(benchmark::kMillisecond);
}

void ManySmall(benchmark::internal::Benchmark* bench) {
  bench->Args({100'000, 100})->Unit(benchmark::kMillisecond);
}

void Growth(benchmark::internal::Benchmark* bench) {
  for (const int count : {1, 10, 100, 1000, 10'000, 100'000}) {
    bench->Args({count, 16});
  }
  bench->Unit(benchmark::kMicrosecond);
}

BENCHMARK(BM_Write)->Apply(Sizes)->Apply(ManySmall);
BENCHMARK(BM_WriteAtomically)->Apply(Sizes);
BENCHMARK(BM_WriteAtOnce<false>)->Apply(Sizes);
BENCHMARK(BM_WriteAtOnce<true>)->Apply(Sizes);
BENCHMARK(BM_ReadChecked)->Apply(Sizes);
BENCHMARK(BM_ReadAndChecksum)->Apply(Sizes);
BENCHMARK(BM_SaveOneChanged)->Apply(ManySmall);
BENCHMARK(BM_SaveOneChangedAtomically)->Apply(ManySmall);
BENCHMARK(BM_Open)->Apply(Growth)->Complexity(benchmark::oN);
BENCHMARK(BM_OpenAndFirstSearch)->Apply(Growth)->Complexity(benchmark::oNLogN);
BENCHMARK(BM_SearchAll)->Apply(Growth)->Complexity(benchmark::oNLogN);
BENCHMARK(BM_SetAll)->Apply(Growth)->Complexity(benchmark::oNLogN);
BENCHMARK(BM_SaveAll)->Apply(Growth)->Complexity(benchmark::oN);

}  // namespace
