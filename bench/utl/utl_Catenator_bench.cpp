// A million pieces put together, beside memcpy piece by piece and std::string.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

#include "utl/utl_Catenator.h"

namespace {

constexpr int kPieces = 1000000;
constexpr char kText[] = "a piece of the text, up to 32 by";

int Length(int piece) {
  return 1 + (piece * 7 & 31);
}

void BM_CatenatorPieces(benchmark::State& state) {
  for (auto _ : state) {
    utl_Catenator catenator;
    for (int i = 0; i < kPieces; ++i) {
      catenator.Cat(kText, Length(i));
    }
    benchmark::DoNotOptimize(catenator.GetString());
  }
  state.SetItemsProcessed(state.iterations() * kPieces);
}
BENCHMARK(BM_CatenatorPieces)->Unit(benchmark::kMillisecond);

// Into memory that is as new as the catenator's: blocks of this size never are reused.
void BM_MemcpyPieces(benchmark::State& state) {
  for (auto _ : state) {
    const auto block = std::make_unique_for_overwrite<char[]>(std::size_t{64} * kPieces);
    char* end = block.get();
    for (int i = 0; i < kPieces; ++i) {
      std::memcpy(end, kText, static_cast<std::size_t>(Length(i)));
      end += Length(i);
    }
    benchmark::DoNotOptimize(end);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPieces);
}
BENCHMARK(BM_MemcpyPieces)->Unit(benchmark::kMillisecond);

void BM_StandardStringPieces(benchmark::State& state) {
  for (auto _ : state) {
    std::string text;
    for (int i = 0; i < kPieces; ++i) {
      text.append(kText, static_cast<std::size_t>(Length(i)));
    }
    benchmark::DoNotOptimize(text.data());
  }
  state.SetItemsProcessed(state.iterations() * kPieces);
}
BENCHMARK(BM_StandardStringPieces)->Unit(benchmark::kMillisecond);

void BM_CatenatorShortLine(benchmark::State& state) {
  for (auto _ : state) {
    utl_Catenator catenator;
    for (int i = 0; i < 20; ++i) {
      catenator.Cat(kText, Length(i));
    }
    benchmark::DoNotOptimize(catenator.GetString());
  }
}
BENCHMARK(BM_CatenatorShortLine);

}  // namespace
