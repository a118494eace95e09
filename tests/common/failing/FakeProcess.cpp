#include "common/failing/FakeProcess.h"

#include "common/failing/Redirection.h"

using redirection::Fails;

namespace {

FakeProcess* fake = nullptr;

FILETIME Duration(ULONGLONG intervals) {
  FILETIME time;
  time.dwLowDateTime = static_cast<DWORD>(intervals);
  time.dwHighDateTime = static_cast<DWORD>(intervals >> 32);
  return time;
}

}  // namespace

FakeProcess::FakeProcess() {
  fake = this;
}

FakeProcess::~FakeProcess() {
  fake = nullptr;
}

void FakeProcess::SetTime(int hour, int minute, int second, int millisecond) {
  time.wHour = static_cast<WORD>(hour);
  time.wMinute = static_cast<WORD>(minute);
  time.wSecond = static_cast<WORD>(second);
  time.wMilliseconds = static_cast<WORD>(millisecond);
}

REDIRECT(void, GetLocalTime, SYSTEMTIME* time) {
  REAL(GetLocalTime)(time);
  if (fake != nullptr) {
    ++fake->timeCalls;
    *time = fake->time;
  }
}

REDIRECT(HANDLE, OpenProcess, DWORD access, BOOL inherit, DWORD processId) {
  if (fake != nullptr) {
    fake->openAccess = access;
    fake->openInherit = inherit;
    fake->openProcessId = processId;
  }
  return Fails(SystemCall::kOpenProcess) ? nullptr
                                         : REAL(OpenProcess)(access, inherit, processId);
}

REDIRECT(BOOL, GetProcessTimes, HANDLE process, FILETIME* creation, FILETIME* exit,
         FILETIME* kernel, FILETIME* user) {
  if (Fails(SystemCall::kGetProcessTimes)) {
    return FALSE;
  }
  const BOOL succeeded = REAL(GetProcessTimes)(process, creation, exit, kernel, user);
  if (fake != nullptr) {
    ++fake->processorCalls;
    *kernel = Duration(fake->kernel);
    *user = Duration(fake->user);
  }
  return succeeded;
}

REDIRECT(BOOL, GetProcessMemoryInfo, HANDLE process, PROCESS_MEMORY_COUNTERS* counters,
         DWORD size) {
  if (Fails(SystemCall::kGetProcessMemoryInfo)) {
    return FALSE;
  }
  const BOOL succeeded = REAL(GetProcessMemoryInfo)(process, counters, size);
  if (fake != nullptr) {
    ++fake->memoryCalls;
    fake->memoryProcess = process;
    fake->memorySize = size;
    *counters = fake->memory;
  }
  return succeeded;
}

REDIRECT(BOOL, EnumProcessModules, HANDLE process, HMODULE* modules, DWORD size,
         LPDWORD needed) {
  if (fake != nullptr) {
    fake->moduleBytes = size;
  }
  return Fails(SystemCall::kEnumProcessModules)
             ? FALSE
             : REAL(EnumProcessModules)(process, modules, size, needed);
}

REDIRECT(DWORD, GetModuleBaseNameW, HANDLE process, HMODULE module, LPWSTR name,
         DWORD size) {
  if (fake != nullptr) {
    fake->nameCharacters = size;
  }
  return REAL(GetModuleBaseNameW)(process, module, name, size);
}
