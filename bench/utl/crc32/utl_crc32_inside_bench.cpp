// Every kernel of the checksum over a range of sizes; "plain" is the yardstick.

#include "utl/impl/crc32/utl_crc32.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

void BM_Crc32(benchmark::State& state, utl_Crc32Function function) {
  const std::vector<unsigned char> bytes(static_cast<std::size_t>(state.range(0)), 0x5A);
  for (auto _ : state) {
    benchmark::DoNotOptimize(function(kCrc32Start, bytes.data(), bytes.size()));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

[[maybe_unused]] const bool registered = [] {
  const auto sizes = [](benchmark::internal::Benchmark* bench) {
    for (const int size : {9, 64, 1024, 16384, 1 << 20}) {
      bench->Arg(size);
    }
  };
  for (const utl_Crc32Kernel& kernel : utl_crc32Kernels()) {
    if (kernel.available) {
      sizes(benchmark::RegisterBenchmark((std::string("crc32/") + kernel.name).c_str(),
                                         BM_Crc32, kernel.function));
    }
  }
  sizes(benchmark::RegisterBenchmark("crc32/chosen", BM_Crc32, utl_crc32));
  return true;
}();

}  // namespace
