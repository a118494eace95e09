// unload_tracker LIBRARY: a process that loads the library, has it make a tracker with a
// timed task, unloads it and lives on for a while. Status 0; the process must not crash.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <thread>

#include "common/handle/DynamicLibrary.h"

int main(int, char** argv) {
  static char track[] = "KES_IO_TRACK=1";
  static char points[] = "KES_IO_TIMEPOINTS=2";
  static char interval[] = "KES_IO_TIMEINTERVAL=1000000";
  for (char* setting : {track, points, interval}) {
    putenv(setting);
  }

  DynamicLibrary library(argv[1]);
  // thr_GlobalSingleton<utl_IOTracker_Container>::Instance()
  const auto makeHolder =
      library.Function("_ZN19thr_GlobalSingletonI23utl_IOTracker_ContainerE8InstanceEv");
  if (makeHolder == nullptr) {
    std::puts("the library cannot be loaded");
    return 2;
  }
  makeHolder();
  library.Unload();
  // The task wakes up some times.
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  return 0;
}
