#include "utl/impl/utl_ResourceSample.h"

#include <windows.h>
// After windows.h, which it needs:
#include <psapi.h>

namespace {

SYSTEMTIME LocalTime() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  return now;
}

std::int32_t WholeSeconds(const SYSTEMTIME& time) {
  return time.wHour * 3600 + time.wMinute * 60 + time.wSecond;
}

double Seconds(const FILETIME& duration) {
  ULARGE_INTEGER intervals;
  intervals.LowPart = duration.dwLowDateTime;
  intervals.HighPart = duration.dwHighDateTime;
  return static_cast<double>(intervals.QuadPart) / 1e7;
}

void ReadMemory(HANDLE process, utl_ResourceSample& sample) {
  PROCESS_MEMORY_COUNTERS counters = {};
  static_assert(sizeof counters == 72);
  if (process == nullptr || !GetProcessMemoryInfo(process, &counters, sizeof counters)) {
    return;
  }
  const auto cut = [](SIZE_T number) { return static_cast<std::int32_t>(number); };
  sample.peakWorkingSet = cut(counters.PeakWorkingSetSize);
  sample.workingSet = cut(counters.WorkingSetSize);
  sample.peakPagedPool = cut(counters.QuotaPeakPagedPoolUsage);
  sample.pagedPool = cut(counters.QuotaPagedPoolUsage);
  sample.peakNonPagedPool = cut(counters.QuotaPeakNonPagedPoolUsage);
  sample.nonPagedPool = cut(counters.QuotaNonPagedPoolUsage);
  sample.pageFaults = cut(counters.PageFaultCount);
  sample.peakPageFile = cut(counters.PeakPagefileUsage);
}

}  // namespace

std::int32_t utl_wholeSecondsOfDay() {
  return WholeSeconds(LocalTime());
}

double utl_secondsOfDay() {
  const SYSTEMTIME now = LocalTime();
  return WholeSeconds(now) + now.wMilliseconds / 1000.0;
}

utl_ProcessorTimes utl_processorTimes() {
  FILETIME creation, exit, kernel, user;
  if (!GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user)) {
    return {};
  }
  return {Seconds(user), Seconds(kernel)};
}

utl_ResourceSample utl_takeSample(void* process, std::int32_t startOfDay,
                                  std::uint32_t processId) {
  utl_ResourceSample sample;
  ReadMemory(process, sample);
  const utl_ProcessorTimes times = utl_processorTimes();
  sample.user = times.user;
  sample.system = times.system;
  sample.processor = times.user + times.system;
  sample.wall = static_cast<std::int32_t>(utl_secondsOfDay() - startOfDay);
  sample.processId = static_cast<std::int32_t>(processId);
  return sample;
}
