// What one recorded operation costs: with the tracker off, compared with a bare test of
// a pointer; with the tracker on, compared with a hash map of records and a mutex.

#include "utl/utl_IOTracker.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <unordered_map>

namespace {

using Holder = thr_GlobalSingleton<utl_IOTracker_Container>;

constexpr std::int64_t kBytes = 65536;
constexpr double kSeconds = 1.0 / 1024;

// Keys as descriptors are, or as addresses of streams.
std::int64_t Key(int file, bool addresses) {
  return addresses ? 0x7F3A5C000010 + std::int64_t{file} * 560 : file + 3;
}

// Settings for putenv, which keeps the texts themselves.
char off[] = "KES_IO_TRACK=0";
char level1[] = "KES_IO_TRACK=1";
char level3[] = "KES_IO_TRACK=3";

// The holder with a tracker that knows `files` files, in place of the earlier one, whose
// summary goes.
utl_IOTracker_Container& Tracking(char* setting, int files, bool addresses) {
  std::filesystem::current_path(std::filesystem::temp_directory_path());
  Holder::Destroy();
  std::remove("ioFileSummary");
  putenv(setting);
  utl_IOTracker_Container& holder = Holder::Instance();
  for (int i = 0; i < files && holder.Tracker() != nullptr; ++i) {
    holder.Tracker()->COpen(Key(i, addresses), ("file" + std::to_string(i)).c_str());
  }
  return holder;
}

void BM_Off(benchmark::State& state) {
  utl_IOTracker_Container* holder = &Tracking(off, 0, false);
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(holder);
    if (utl_IOTracker* const tracker = holder->Tracker()) {
      tracker->CWrite(3, kBytes, kSeconds);
    }
  }
}
BENCHMARK(BM_Off)->Name("off/library");

void BM_OffPeer(benchmark::State& state) {
  utl_IOTracker* none = nullptr;
  utl_IOTracker** pointer = &none;
  for ([[maybe_unused]] auto _ : state) {
    benchmark::DoNotOptimize(pointer);
    if (*pointer != nullptr) {
      (*pointer)->CWrite(3, kBytes, kSeconds);
    }
  }
}
BENCHMARK(BM_OffPeer)->Name("off/peer, a null test");

void BM_OffMark(benchmark::State& state) {
  Tracking(off, 0, false);
  for ([[maybe_unused]] auto _ : state) {
    utl_IOTracker_Mark("step");
  }
}
BENCHMARK(BM_OffMark)->Name("off/mark");

// Every thread writes to files of its own, one after the other.
template <class Operation>
void Spread(benchmark::State& state, Operation operation) {
  const auto files = static_cast<int>(state.range(0));
  const bool addresses = state.range(1) != 0;
  int file = state.thread_index() * 7 % files;
  for ([[maybe_unused]] auto _ : state) {
    operation(Key(file, addresses));
    file = file + 1 == files ? 0 : file + 1;
  }
}

utl_IOTracker* present;

template <char* kSetting>
void Begin(const benchmark::State& state) {
  present =
      Tracking(kSetting, static_cast<int>(state.range(0)), state.range(1) != 0).Tracker();
}

void BM_On(benchmark::State& state) {
  Spread(state, [](std::int64_t key) { present->CWrite(key, kBytes, kSeconds); });
}

// The peer keeps totals alone, without kinds, limits or increments.
struct PeerRecord {
  int count = 0;
  double megabytes = 0;
  double time = 0;
};
std::mutex peerMutex;
std::unordered_map<std::int64_t, PeerRecord> peerRecords;

void BM_Peer(benchmark::State& state) {
  Spread(state, [](std::int64_t key) {
    const std::lock_guard<std::mutex> guard(peerMutex);
    PeerRecord& record = peerRecords[key];
    ++record.count;
    record.megabytes += static_cast<double>(kBytes) / (1024 * 1024);
    record.time += kSeconds;
  });
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"files", "addresses"});
  for (const int files : {1, 16, 1000, 100000}) {
    for (const int addresses : {0, 1}) {
      benchmark->Args({files, addresses});
    }
  }
}

BENCHMARK(BM_On)->Name("on/library")->Setup(Begin<level1>)->Apply(Sizes);
BENCHMARK(BM_Peer)->Name("on/peer, mutex and hash map")->Apply(Sizes);
BENCHMARK(BM_On)->Name("on/library, level 3")->Setup(Begin<level3>)->Args({16, 1});
BENCHMARK(BM_On)
    ->Name("on/library, threads")
    ->Setup(Begin<level1>)
    ->Args({16, 1})
    ->ThreadRange(2, 8)
    ->UseRealTime();
BENCHMARK(BM_Peer)
    ->Name("on/peer, threads")
    ->Args({16, 1})
    ->ThreadRange(2, 8)
    ->UseRealTime();

}  // namespace
