// Splitting a line of many fields and substituting in it, against the plain way: a match
// for callers and a copy of the remaining text at every step.

#include "rgx/rgx_funcs.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

cow_String Line(benchmark::State& state) {
  std::string line;
  for (int i = 0; i < state.range(0); ++i) {
    line += (i > 0 ? "," : "") + std::to_string(i);
  }
  return cow_String(line);
}

cow_1DArrayList<cow_String> PlainSplit(const cow_String& pattern,
                                       const cow_String& subject) {
  cow_1DArrayList<cow_String> fields;
  cow_String rest = subject;
  for (rgx_ReIterator found = rgx_match(pattern, rest); found.Matched();
       found = rgx_match(pattern, rest)) {
    if (const cow_String before = found.NthString(-2); !before.IsEmpty()) {
      fields.Append(before);
    }
    rest = found.NthString(-1);
  }
  fields.Append(rest);
  return fields;
}

template <cow_1DArrayList<cow_String> (*split)(const cow_String&, const cow_String&)>
void BM_Split(benchmark::State& state) {
  const cow_String pattern(",");
  const cow_String line = Line(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(split(pattern, line));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Split<rgx_split>)->Name("split/library")->Arg(2)->Arg(10)->Arg(1000);
BENCHMARK(BM_Split<PlainSplit>)->Name("split/plain")->Arg(2)->Arg(10)->Arg(1000);

void BM_Subn(benchmark::State& state) {
  const cow_String pattern("([0-9]),");
  const cow_String replacement("$1; ");
  const cow_String line = Line(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(rgx_subn(pattern, replacement, line, 1 << 30));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Subn)->Name("subn/library")->Arg(10)->Arg(1000);

void BM_Match(benchmark::State& state) {
  const cow_String pattern("(\\w+)=(\\d+)");
  const cow_String subject("the cpus=4 of it");
  for (auto _ : state) {
    benchmark::DoNotOptimize(rgx_match(pattern, subject).NthString(2));
  }
}
BENCHMARK(BM_Match)->Name("match/library");

}  // namespace
