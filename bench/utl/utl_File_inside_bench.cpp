// Sequential writing and reading of 16 MB in blocks, beside the system's calls alone.

#include <benchmark/benchmark.h>
#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

#include "utl/utl_File.h"

namespace {

constexpr int kFileSize = 16 << 20;

// A file that is removed at the end.
class ScratchFile {
 public:
  ScratchFile()
      : path_((std::filesystem::temp_directory_path() / "kst_file_bench.dat").string()) {}
  ~ScratchFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const char* Path() const { return path_.c_str(); }

 private:
  std::string path_;
};

void SetBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * kFileSize);
}

void BM_FileWrite(benchmark::State& state) {
  const ScratchFile scratch;
  const int block = static_cast<int>(state.range(0));
  const std::vector<char> data(static_cast<std::size_t>(block), 'x');
  utl_File file(scratch.Path(), utl_FileAccessWrite, utl_FileShareDefault);
  for (auto _ : state) {
    file.Seek(0);
    for (int done = 0; done < kFileSize; done += block) {
      benchmark::DoNotOptimize(file.Write(data.data(), block));
    }
  }
  SetBytes(state);
}
BENCHMARK(BM_FileWrite)->Arg(512)->Arg(4096)->Arg(65536)->Arg(1 << 20);

void BM_PlainWrite(benchmark::State& state) {
  const ScratchFile scratch;
  const DWORD block = static_cast<DWORD>(state.range(0));
  const std::vector<char> data(block, 'x');
  const HANDLE file = CreateFileA(scratch.Path(), GENERIC_READ | GENERIC_WRITE, 0,
                                  nullptr, CREATE_ALWAYS, 0, nullptr);
  for (auto _ : state) {
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    for (DWORD done = 0; done < kFileSize; done += block) {
      DWORD written = 0;
      benchmark::DoNotOptimize(WriteFile(file, data.data(), block, &written, nullptr));
    }
  }
  CloseHandle(file);
  SetBytes(state);
}
BENCHMARK(BM_PlainWrite)->Arg(512)->Arg(4096)->Arg(65536)->Arg(1 << 20);

void BM_FileRead(benchmark::State& state) {
  const ScratchFile scratch;
  const int block = static_cast<int>(state.range(0));
  std::vector<char> data(static_cast<std::size_t>(block));
  utl_File file(scratch.Path(), utl_FileAccessWrite, utl_FileShareDefault);
  file.Extend(kFileSize);
  for (auto _ : state) {
    file.Seek(0);
    while (file.Read(data.data(), block) > 0) {
      benchmark::DoNotOptimize(data.data());
    }
  }
  SetBytes(state);
}
BENCHMARK(BM_FileRead)->Arg(512)->Arg(4096)->Arg(65536)->Arg(1 << 20);

void BM_PlainRead(benchmark::State& state) {
  const ScratchFile scratch;
  const DWORD block = static_cast<DWORD>(state.range(0));
  std::vector<char> data(block);
  const HANDLE file = CreateFileA(scratch.Path(), GENERIC_READ | GENERIC_WRITE, 0,
                                  nullptr, CREATE_ALWAYS, 0, nullptr);
  SetFilePointer(file, kFileSize, nullptr, FILE_BEGIN);
  SetEndOfFile(file);
  for (auto _ : state) {
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    DWORD read = 0;
    while (ReadFile(file, data.data(), block, &read, nullptr) && read > 0) {
      benchmark::DoNotOptimize(data.data());
    }
  }
  CloseHandle(file);
  SetBytes(state);
}
BENCHMARK(BM_PlainRead)->Arg(512)->Arg(4096)->Arg(65536)->Arg(1 << 20);

}  // namespace
