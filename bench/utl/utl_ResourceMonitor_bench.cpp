// Marks and timers of a monitor that is off, against the test of a flag; then of one
// that is on, marks against the writing and flushing of a line alone.

#include "utl/utl_ResourceMonitor.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

utl_ResourceMonitor& Monitor() {
  return omi_Singleton<utl_ResourceMonitor>::Instance();
}

// The peer: what a caller would write by hand.
struct Peer {
  bool on = false;
  int calls = 0;
};

Peer& ThePeer() {
  static Peer peer;
  benchmark::DoNotOptimize(&peer);
  return peer;
}

void BM_Peer(benchmark::State& state) {
  Peer& peer = ThePeer();
  for ([[maybe_unused]] auto _ : state) {
    benchmark::ClobberMemory();
    if (peer.on) {
      ++peer.calls;
    }
  }
}
BENCHMARK(BM_Peer)->Name("off/peer: a flag");

// A monitor that is off: Initialize was not called.
template <class Call>
void Off(benchmark::State& state, Call call) {
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  utl_ResourceMonitor& monitor = Monitor();
  for ([[maybe_unused]] auto _ : state) {
    benchmark::ClobberMemory();
    call(monitor);
  }
}

void BM_OffMark(benchmark::State& state) {
  Off(state, [](utl_ResourceMonitor& monitor) { monitor.Mark("stiffness assembled"); });
}
BENCHMARK(BM_OffMark)->Name("off/Mark, literal");

void BM_OffMarkString(benchmark::State& state) {
  const cow_String label = "stiffness assembled";
  Off(state, [&](utl_ResourceMonitor& monitor) { monitor.Mark(label); });
}
BENCHMARK(BM_OffMarkString)->Name("off/Mark, string at hand");

void BM_OffMarkMadeString(benchmark::State& state) {
  Off(state, [](utl_ResourceMonitor& monitor) {
    monitor.Mark(cow_String("stiffness assembled"));
  });
}
BENCHMARK(BM_OffMarkMadeString)->Name("off/Mark, string made for it");

void BM_OffMarkMethod(benchmark::State& state) {
  Off(state, [](utl_ResourceMonitor& monitor) { monitor.MarkMethod("Assemble"); });
}
BENCHMARK(BM_OffMarkMethod)->Name("off/MarkMethod, literal");

void BM_OffTimer(benchmark::State& state) {
  Off(state, [](utl_ResourceMonitor& monitor) {
    monitor.StartTimer(0, "assembly");
    monitor.StopTimer(0);
  });
}
BENCHMARK(BM_OffTimer)->Name("off/StartTimer and StopTimer");

void BM_OffInstance(benchmark::State& state) {
  Off(state, [](utl_ResourceMonitor&) { Monitor().Mark("stiffness assembled"); });
}
BENCHMARK(BM_OffInstance)->Name("off/Instance and Mark");

// A monitor that is on, with a log in the directory for temporary files.
class Running {
 public:
  Running() {
    static char on[] = "KES_RESOURCE_MONITOR=ON";
    putenv(on);
    Monitor().Initialize(job_.c_str());
  }
  ~Running() {
    omi_SingletonBase<utl_ResourceMonitor>::Finalize();
    std::filesystem::remove(job_ + ".use");
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

 private:
  std::string job_ =
      (std::filesystem::temp_directory_path() / "utl_ResourceMonitor_bench").string();
};

void BM_OnMark(benchmark::State& state) {
  const Running running;
  utl_ResourceMonitor& monitor = Monitor();
  if (!monitor.IsEnabled()) {
    state.SkipWithError("no log");
  }
  for ([[maybe_unused]] auto _ : state) {
    monitor.Mark("stiffness assembled");
  }
}
BENCHMARK(BM_OnMark)->Name("on/Mark");

void BM_OnPeer(benchmark::State& state) {
  std::FILE* const file = std::tmpfile();
  for ([[maybe_unused]] auto _ : state) {
    std::fprintf(file, "%s.%d %d %40.40s %.1f %.1f %d %d %.1f %d %d %d %d %d %d %d \n",
                 "beam", 1, 2, "stiffness assembled", 0.5, 0.25, 1, 2, 0.75, 3, 4, 5, 6,
                 7, 8, 9);
    std::fflush(file);
  }
  std::fclose(file);
}
BENCHMARK(BM_OnPeer)->Name("on/peer: fprintf and fflush of a line");

void BM_OnTimer(benchmark::State& state) {
  const Running running;
  utl_ResourceMonitor& monitor = Monitor();
  if (!monitor.IsEnabled()) {
    state.SkipWithError("no log");
  }
  for ([[maybe_unused]] auto _ : state) {
    monitor.StartTimer(0, "assembly");
    monitor.StopTimer(0);
  }
}
BENCHMARK(BM_OnTimer)->Name("on/StartTimer and StopTimer");

}  // namespace
