// Masks of 100,000 bits to text and back: random bits, and runs. And one far bit.

#include <benchmark/benchmark.h>

#include "utl/utl_BlkBitUtils.h"

namespace {

omi_BlkBitVect Mask(bool runs) {
  omi_BlkBitVect mask;
  std::uint32_t value = 1;
  for (std::uint64_t cell = 0; cell < 3125; ++cell) {
    value = runs && cell % 25 != 0 ? value : value * 1664525 + 1013904223;
    mask.SetCell(cell, value);
  }
  return mask;
}

void BM_MaskToText(benchmark::State& state) {
  const omi_BlkBitVect mask = Mask(state.range(0) != 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(utl_BlkBitUtils::GetMaskString(mask));
  }
}
BENCHMARK(BM_MaskToText)->ArgName("runs")->Arg(0)->Arg(1);

void BM_FarBitToText(benchmark::State& state) {
  omi_BlkBitVect mask;
  mask.Set(0xFFFFFFFF);
  for (auto _ : state) {
    benchmark::DoNotOptimize(utl_BlkBitUtils::GetMaskString(mask));
  }
}
BENCHMARK(BM_FarBitToText);

void BM_MaskFromText(benchmark::State& state) {
  const cow_List<cow_String> text =
      utl_BlkBitUtils::GetMaskString(Mask(state.range(0) != 0));
  for (auto _ : state) {
    omi_BlkBitVect mask;
    utl_BlkBitUtils::GetMaskFromString(text, mask);
    benchmark::DoNotOptimize(mask);
  }
}
BENCHMARK(BM_MaskFromText)->ArgName("runs")->Arg(0)->Arg(1);

}  // namespace
