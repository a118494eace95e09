// Marks and timers of a monitor that is off, and marks of one that is on.

#include "utl/utl_ResourceMonitor.h"

#include <cstdio>
#include <cstdlib>
#include "bench_work.h"

namespace {

utl_ResourceMonitor& Monitor() {
  return omi_Singleton<utl_ResourceMonitor>::Instance();
}

void TurnOff() {
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
}

void TurnOn() {
  TurnOff();
  setenv("KES_RESOURCE_MONITOR", "ON", 1);
  Monitor().Initialize((bench::Scratch() + "/job").c_str());
}

// What a caller would write by hand.
struct Flag {
  bool on = false;
  int calls = 0;
};

template <class Call>
void AddOff(const char* name, Call call) {
  bench::Work(name)
      .Measured(
          "ours", [call] { call(Monitor()); }, TurnOff)
      .Measured("limit a flag", [flag = Flag()]() mutable {
        benchmark::DoNotOptimize(flag);
        if (flag.on) {
          ++flag.calls;
        }
      });
}

void StartAndStop(utl_ResourceMonitor& monitor) {
  monitor.StartTimer(0, "assembly");
  monitor.StopTimer(0);
}

// A line as the log has it, written and flushed.
void AddOn() {
  bench::Work("monitor on: mark")
      .Measured(
          "ours", [] { Monitor().Mark("stiffness assembled"); }, TurnOn)
      .Measured("fprintf and fflush", [file = std::tmpfile()] {
        std::fprintf(
            file, "%s.%d %d %40.40s %.1f %.1f %d %d %.1f %d %d %d %d %d %d %d \n", "beam",
            1, 2, "stiffness assembled", 0.5, 0.25, 1, 2, 0.75, 3, 4, 5, 6, 7, 8, 9);
        std::fflush(file);
      });
  bench::Work("monitor on: timer")
      .Measured(
          "ours", [] { StartAndStop(Monitor()); }, TurnOn);
}

}  // namespace

void bench::AddWorks() {
  AddOff("monitor off: mark",
         [](utl_ResourceMonitor& monitor) { monitor.Mark("stiffness assembled"); });
  AddOff("monitor off: timer", StartAndStop);
  AddOn();
}
