// An array of 8 MB to a file and back, beside one call of the run time.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <vector>

#include "utl/utl_BinStream.h"

namespace {

constexpr int kDoubles = 1 << 20;
constexpr int kBytes = 8 * kDoubles;
constexpr char kPath[] = "utl_BinStream_bench.tmp";

// A file that goes with the program.
class File {
 public:
  File()
      : fd_(_open(kPath, _O_RDWR | _O_CREAT | _O_TRUNC | _O_BINARY,
                  _S_IREAD | _S_IWRITE)) {}
  ~File() {
    _close(fd_);
    _unlink(kPath);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int Descriptor() const { return fd_; }
  void Rewind() const { _lseeki64(fd_, 0, SEEK_SET); }

 private:
  int fd_;
};

template <class Move>
void MoveArray(benchmark::State& state, Move move) {
  const File file;
  std::vector<double> values(kDoubles, 1.5);
  utl_BinOStream(file.Descriptor(), omi_Swapper::kLittleEndian)
      .WriteDoubleArray(values.data(), kDoubles);
  for (auto _ : state) {
    file.Rewind();
    move(file.Descriptor(), values.data());
  }
  state.SetBytesProcessed(state.iterations() * kBytes);
}

void BM_WriteDoubleArray(benchmark::State& state) {
  MoveArray(state, [](int fd, double* values) {
    utl_BinOStream(fd, omi_Swapper::kLittleEndian).WriteDoubleArray(values, kDoubles);
  });
}
BENCHMARK(BM_WriteDoubleArray);

void BM_OneWrite(benchmark::State& state) {
  MoveArray(state, [](int fd, double* values) {
    benchmark::DoNotOptimize(_write(fd, values, kBytes));
  });
}
BENCHMARK(BM_OneWrite);

void BM_ReadDoubleArray(benchmark::State& state) {
  MoveArray(state, [](int fd, double* values) {
    utl_BinIStream(fd, omi_Swapper::kLittleEndian).ReadDoubleArray(values, kDoubles);
  });
}
BENCHMARK(BM_ReadDoubleArray);

void BM_OneRead(benchmark::State& state) {
  MoveArray(state, [](int fd, double* values) {
    benchmark::DoNotOptimize(_read(fd, values, kBytes));
  });
}
BENCHMARK(BM_OneRead);

}  // namespace
