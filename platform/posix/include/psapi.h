#pragma once

// The process-status calls, on POSIX, for this process only.
//
// A counter that a system does not keep is 0 (page faults under Wine, pool quotas), and a
// peak that it does not keep is at least the present value: the highest that a call has
// seen, or just the present one.

#include <windows.h>

struct PROCESS_MEMORY_COUNTERS {
  DWORD cb;
  DWORD PageFaultCount;
  SIZE_T PeakWorkingSetSize;
  SIZE_T WorkingSetSize;
  SIZE_T QuotaPeakPagedPoolUsage;
  SIZE_T QuotaPagedPoolUsage;
  SIZE_T QuotaPeakNonPagedPoolUsage;
  SIZE_T QuotaNonPagedPoolUsage;
  SIZE_T PagefileUsage;
  SIZE_T PeakPagefileUsage;
};

BOOL GetProcessMemoryInfo(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size);
BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, LPDWORD needed);
DWORD GetModuleBaseNameW(HANDLE process, HMODULE module, LPWSTR name, DWORD size);
