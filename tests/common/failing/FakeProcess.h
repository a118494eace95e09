#pragma once

#include <windows.h>
// Behind windows.h:
#include <psapi.h>

/// What the library is told of the time and its process while this object lives: what
/// the members say, whatever the system says. One object at a time.
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

  // How often the library asked, and what it handed over last.
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

// For the redirected calls: each tells what the library handed over and puts the test's
// answer in place of the system's.
namespace redirection {

void AnswerLocalTime(SYSTEMTIME& time);
void AnswerProcessTimes(FILETIME& kernel, FILETIME& user);
void AnswerMemory(HANDLE process, PROCESS_MEMORY_COUNTERS& counters, DWORD size);
void RecordOpenProcess(DWORD access, BOOL inherit, DWORD processId);
void RecordModules(DWORD bytes);
void RecordModuleName(DWORD characters);

}  // namespace redirection
