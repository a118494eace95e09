// Every kernel over a range of sizes, results made as callers get them; "plain" is the
// yardstick.

#include <benchmark/benchmark.h>

#include <new>
#include <string>

#include "utl/impl/base64/utl_base64_codec.h"
#include "utl/utl_base64.h"

namespace {

void* Allocate(std::size_t size) {
  return ::operator new(size);
}

cow_String Bytes(std::int64_t size) {
  std::string bytes(static_cast<std::size_t>(size), ' ');
  unsigned value = 1;
  for (char& byte : bytes) {
    value = value * 1664525 + 1013904223;
    byte = static_cast<char>(value >> 24);
  }
  return cow_String(std::string_view(bytes));
}

void BM_Encode(benchmark::State& state, const utl_Base64Kernel* kernel, bool lines) {
  const utl_Base64Codec codec(*kernel, Allocate);
  const cow_String bytes = Bytes(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(codec.Encode(bytes, lines));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_Decode(benchmark::State& state, const utl_Base64Kernel* kernel) {
  const utl_Base64Codec codec(*kernel, Allocate);
  cow_String text = codec.Encode(Bytes(state.range(0)), false);
  for (auto _ : state) {
    benchmark::DoNotOptimize(codec.Decode(text, true));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

[[maybe_unused]] const bool registered = [] {
  const auto sizes = [](benchmark::internal::Benchmark* bench) {
    for (const int size : {6, 64, 4096, 1 << 20}) {
      bench->Arg(size);
    }
  };
  for (const utl_Base64Kernel& kernel : utl_base64Kernels()) {
    if (kernel.available) {
      const std::string name = kernel.name;
      sizes(benchmark::RegisterBenchmark(("base64_encode/" + name).c_str(), BM_Encode,
                                         &kernel, false));
      sizes(benchmark::RegisterBenchmark(("base64_encode_lines/" + name).c_str(),
                                         BM_Encode, &kernel, true));
      sizes(benchmark::RegisterBenchmark(("base64_decode/" + name).c_str(), BM_Decode,
                                         &kernel));
    }
  }
  return true;
}();

}  // namespace
