#include "common/failing/FakeProcess.h"

#include "common/failing/FailingCall.h"

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
  redirection::Install();
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

void redirection::AnswerLocalTime(SYSTEMTIME& time) {
  if (fake == nullptr) return;
  ++fake->timeCalls;
  time = fake->time;
}

void redirection::AnswerProcessTimes(FILETIME& kernel, FILETIME& user) {
  if (fake == nullptr) return;
  ++fake->processorCalls;
  kernel = Duration(fake->kernel);
  user = Duration(fake->user);
}

void redirection::AnswerMemory(HANDLE process, PROCESS_MEMORY_COUNTERS& counters,
                               DWORD size) {
  if (fake == nullptr) return;
  ++fake->memoryCalls;
  fake->memoryProcess = process;
  fake->memorySize = size;
  counters = fake->memory;
}

void redirection::RecordOpenProcess(DWORD access, BOOL inherit, DWORD processId) {
  if (fake == nullptr) return;
  fake->openAccess = access;
  fake->openInherit = inherit;
  fake->openProcessId = processId;
}

void redirection::RecordModules(DWORD bytes) {
  if (fake != nullptr) fake->moduleBytes = bytes;
}

void redirection::RecordModuleName(DWORD characters) {
  if (fake != nullptr) fake->nameCharacters = characters;
}
