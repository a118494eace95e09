// URL parts against PCRE2 called directly with its match data kept, and the test whether
// a path is a URL against the plain way of two matches.

#include "utl/utl_UrlParser.h"

#include <benchmark/benchmark.h>
#include <pcre2.h>

#include <string>
#include <string_view>

#include "rgx/rgx_funcs.h"

namespace {

constexpr char kUrl[] = "kstrdb://user@node-7:4000/db/file?x=1";
constexpr char kPath[] = "Z:\\home\\user\\project\\results\\job_17.out";

void BM_GetHost(benchmark::State& state) {
  const cow_String url(kUrl);
  for (auto _ : state) {
    benchmark::DoNotOptimize(utl_UrlParser::GetHost(url));
  }
}
BENCHMARK(BM_GetHost)->Name("host/library");

void BM_HasHost(benchmark::State& state) {
  const cow_String url(kUrl);
  for (auto _ : state) {
    benchmark::DoNotOptimize(utl_UrlParser::HasHost(url));
  }
}
BENCHMARK(BM_HasHost)->Name("has host/library");

// The engine alone; `Result` is what becomes of the host.
template <class Result>
void BM_EngineHost(benchmark::State& state) {
  const std::string url(kUrl);
  int error;
  PCRE2_SIZE offset;
  pcre2_code* const code = pcre2_compile(
      reinterpret_cast<PCRE2_SPTR>("^[a-zA-Z\\+\\.-]+://([^@]+@)?([a-zA-Z0-9\\.-]+)"),
      PCRE2_ZERO_TERMINATED, 0, &error, &offset, nullptr);
  pcre2_match_data* const data = pcre2_match_data_create(16, nullptr);
  const PCRE2_SIZE* const offsets = pcre2_get_ovector_pointer(data);
  for (auto _ : state) {
    pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(url.data()), url.size(), 0, 0, data,
                nullptr);
    benchmark::DoNotOptimize(
        Result(std::string_view(url).substr(offsets[4], offsets[5] - offsets[4])));
  }
  pcre2_match_data_free(data);
  pcre2_code_free(code);
}
BENCHMARK(BM_EngineHost<std::string_view>)->Name("host/engine, position only");
BENCHMARK(BM_EngineHost<std::string>)->Name("host/engine, std::string");
BENCHMARK(BM_EngineHost<cow_String>)->Name("host/engine, cow_String");

bool PlainIsUrl(const cow_String& s) {
  return rgx_match("([a-zA-Z\\+\\.-]+):", s).Matched() &&
         rgx_match("^([a-zA-Z\\+\\.-]+):", s).NthString(1) == "kstrdb";
}

void BM_IsUrl(benchmark::State& state, bool (*isUrl)(const cow_String&),
              const char* text) {
  const cow_String name(text);
  for (auto _ : state) {
    benchmark::DoNotOptimize(isUrl(name));
  }
}
BENCHMARK_CAPTURE(BM_IsUrl, noColonLibrary, utl_UrlParser::IsUrl, kPath + 2);
BENCHMARK_CAPTURE(BM_IsUrl, noColonPlain, PlainIsUrl, kPath + 2);
BENCHMARK_CAPTURE(BM_IsUrl, driveLibrary, utl_UrlParser::IsUrl, kPath);
BENCHMARK_CAPTURE(BM_IsUrl, drivePlain, PlainIsUrl, kPath);

}  // namespace
