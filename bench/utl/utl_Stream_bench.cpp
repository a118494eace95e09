// One number at a time, beside the run time's snprintf and std::to_chars.

#include <benchmark/benchmark.h>

#include <array>
#include <charconv>
#include <cstdio>

#include "utl/utl_Stream.h"

namespace {

class NullStream : public aio_ostream {
 public:
  void write(const char* data, int length) override {
    benchmark::DoNotOptimize(data);
    benchmark::DoNotOptimize(length);
  }
  void flush() override {}
  bool good() const override { return true; }
};

constexpr std::array<double, 8> kReals = {
    3.141592653589793, -1.0 / 3,    6.02214076e23, 1.6e-19,
    123.456789,        -98765.4321, 2.5,           0.000123456};

template <class Value>
void Stream(benchmark::State& state, Value (*value)(std::size_t)) {
  NullStream null;
  utl_Stream stream(null, 72, 6, 15);
  std::size_t i = 0;
  for (auto _ : state) {
    stream << value(i++);
  }
}

template <class Value>
void Snprintf(benchmark::State& state, const char* format, Value (*value)(std::size_t)) {
  char buffer[80];
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, format, value(i++)));
    benchmark::ClobberMemory();
  }
}

double Real(std::size_t i) {
  return kReals[i % kReals.size()];
}
double Whole(std::size_t i) {
  return static_cast<double>(i * 7919 & 0xFFFFF);
}
int Int(std::size_t i) {
  return static_cast<int>(i * 7919 & 0xFFFFF) - 500000;
}

void BM_StreamReal(benchmark::State& state) {
  Stream(state, Real);
}
BENCHMARK(BM_StreamReal);

void BM_SnprintfReal(benchmark::State& state) {
  Snprintf(state, "%.15g", Real);
}
BENCHMARK(BM_SnprintfReal);

void BM_ToCharsReal(benchmark::State& state) {
  char buffer[80];
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::to_chars(buffer, std::end(buffer), Real(i++),
                                           std::chars_format::general, 15));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_ToCharsReal);

void BM_StreamWhole(benchmark::State& state) {
  Stream(state, Whole);
}
BENCHMARK(BM_StreamWhole);

void BM_SnprintfWhole(benchmark::State& state) {
  Snprintf(state, "%.15g", Whole);
}
BENCHMARK(BM_SnprintfWhole);

void BM_StreamInt(benchmark::State& state) {
  Stream(state, Int);
}
BENCHMARK(BM_StreamInt);

void BM_SnprintfInt(benchmark::State& state) {
  Snprintf(state, "%i", Int);
}
BENCHMARK(BM_SnprintfInt);

}  // namespace
