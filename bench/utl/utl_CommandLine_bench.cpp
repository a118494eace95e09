// A query of the command line, against a hash map behind a mutex.

#include "utl/utl_CommandLine.h"

#include <benchmark/benchmark.h>

#include <mutex>
#include <string>
#include <unordered_map>

#include "utl/utl_CommandLineLoader.h"

namespace {

constexpr const char* kArguments[] = {
    "-job",    "beam",         "-cpus",        "4",       "-memory",
    "2000000", "-tmpdir",      "/scratch/tmp", "-outdir", "/home/user/project/results",
    "-input",  "tower.deck",   "-interactive", "-error",  "utl_File=3,rgx=",
    "-loads",  "wind_3.loads", "-digits",      "12",
};

using Line = thr_GlobalSingleton<utl_CommandLine>;

const utl_CommandLine& Loaded() {
  static const bool once = [] {
    cow_1DArrayList<cow_String> arguments;
    for (const char* argument : kArguments) {
      arguments.Append(argument);
    }
    utl_CommandLineLoader::SetArgsList(arguments);
    return true;
  }();
  static_cast<void>(once);
  return Line::Instance();
}

// The peer, with the library's string type or the standard one.
std::mutex peerMutex;

template <class String>
const std::unordered_map<String, String>& PeerOptions() {
  static const auto* const options = new std::unordered_map<String, String>{
      {"job", "beam"},
      {"cpus", "4"},
      {"memory", "2000000"},
      {"tmpdir", "/scratch/tmp"},
      {"outdir", "/home/user/project/results"},
      {"input", "tower.deck"},
      {"interactive", ""},
      {"error", "utl_File=3,rgx="},
      {"loads", "wind_3.loads"},
      {"digits", "12"},
  };
  return *options;
}

// Copies share nothing here either.
std::string Copy(const std::string& text) {
  return text;
}
cow_String Copy(const cow_String& text) {
  return {text.c_str(), text.Length()};
}

// A short value and a long one.
constexpr const char* kOptions[] = {"job", "outdir"};

void BM_Value(benchmark::State& state) {
  Loaded();
  const cow_String name(kOptions[state.range(0)]);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Line::Instance().ConstGetValue(name));
  }
}
BENCHMARK(BM_Value)->Name("value/library")->Arg(0)->Arg(1);

template <class String>
void BM_PeerValue(benchmark::State& state) {
  const std::unordered_map<String, String>& options = PeerOptions<String>();
  const String name(kOptions[state.range(0)]);
  for (auto _ : state) {
    const std::lock_guard<std::mutex> guard(peerMutex);
    benchmark::DoNotOptimize(Copy(options.find(name)->second));
  }
}
BENCHMARK(BM_PeerValue<cow_String>)->Name("value/peer, cow_String")->Arg(0)->Arg(1);
BENCHMARK(BM_PeerValue<std::string>)->Name("value/peer, std::string")->Arg(0)->Arg(1);

void BM_Number(benchmark::State& state) {
  Loaded();
  const cow_String name("cpus");
  for (auto _ : state) {
    benchmark::DoNotOptimize(Line::Instance().ConstGetValueAsInt(name));
  }
}
BENCHMARK(BM_Number)->Name("number/library");

}  // namespace
