#include "common/expect/PeakMemory.h"

#include <windows.h>

#include <psapi.h>

#include <stdexcept>

std::int64_t PeakMemory() {
  PROCESS_MEMORY_COUNTERS counters{};
  if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) {
    throw std::runtime_error("GetProcessMemoryInfo failed");
  }
  return static_cast<std::int64_t>(counters.PeakWorkingSetSize);
}
