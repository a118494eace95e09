#pragma once

#include <windows.h>
// After windows.h:
#include <psapi.h>

/// While it lives, the time and the numbers of the process are those of its members, not
/// the system's. One object at a time.
///
///     FakeProcess process;
///     process.SetTime(23, 59, 59, 500);
///     process.user = 12'500'000;          // 1.25 s
class FakeProcess {
 public:
  /// At 00:00:00, with zeros for all numbers.
  FakeProcess();
  ~FakeProcess();
  FakeProcess(const FakeProcess&) = delete;
  FakeProcess& operator=(const FakeProcess&) = delete;

  void SetTime(int hour, int minute, int second, int millisecond);

  SYSTEMTIME time = {};
  ULONGLONG user = 0;  ///< In 100 ns, as `kernel`.
  ULONGLONG kernel = 0;
  PROCESS_MEMORY_COUNTERS memory = {};

  // How often each was asked for, and the arguments of the last calls.
  int timeCalls = 0;
  int processorCalls = 0;
  int memoryCalls = 0;
  int Calls() const { return timeCalls + processorCalls + memoryCalls; }
  HANDLE memoryProcess = nullptr;
  DWORD memorySize = 0;
  DWORD openAccess = 0;
  BOOL openInherit = -1;
  DWORD openProcessId = 0;
  DWORD moduleBytes = 0;
  DWORD nameCharacters = 0;
};
