#include "common/failing/FailingCall.h"

#include <windows.h>
#include <winsock2.h>

#include <io.h>

#include <cstdlib>

#include "common/failing/Redirection.h"

namespace {

struct Plan {
  SystemCall call = {};
  DWORD code = 0;
  int callsToGo = 0;  // 0: no failure is planned
  Failing failing = Failing::kOnce;
  bool happened = false;
};

Plan plan;

int callsUntilDeath = 0;  // 0: no death is planned

}  // namespace

FailingCall::FailingCall(SystemCall call, DWORD code, int nth, Failing failing) {
  plan = {call, code, nth, failing, false};
}

FailingCall::~FailingCall() {
  plan = {};
}

bool FailingCall::Happened() const {
  return plan.happened;
}

void DieAtCall(int nth) {
  callsUntilDeath = nth;
}

void redirection::Reach() {
  if (callsUntilDeath > 0 && --callsUntilDeath == 0) {
    std::_Exit(99);
  }
}

bool redirection::Fails(SystemCall call) {
  Reach();
  if (call != plan.call || plan.callsToGo == 0 || --plan.callsToGo != 0) {
    return false;
  }
  plan.happened = true;
  plan.callsToGo = plan.failing == Failing::kOnce ? 0 : 1;
  SetLastError(plan.code);
  return true;
}

// The calls that fail or do as always.

using redirection::Fails;

REDIRECT(int, _access, const char* path, int mode) {
  return Fails(SystemCall::kAccess) ? -1 : REAL(_access)(path, mode);
}

REDIRECT(BOOL, CloseHandle, HANDLE handle) {
  const BOOL closed = REAL(CloseHandle)(handle);
  return Fails(SystemCall::kCloseHandle) ? FALSE : closed;
}

REDIRECT(BOOL, FindNextFileA, HANDLE search, WIN32_FIND_DATAA* data) {
  return Fails(SystemCall::kFindNextFile) ? FALSE : REAL(FindNextFileA)(search, data);
}

REDIRECT(BOOL, FlushFileBuffers, HANDLE handle) {
  return Fails(SystemCall::kFlushFileBuffers) ? FALSE : REAL(FlushFileBuffers)(handle);
}

REDIRECT(BOOL, GetFileInformationByHandle, HANDLE handle,
         BY_HANDLE_FILE_INFORMATION* information) {
  return Fails(SystemCall::kGetFileInformationByHandle)
             ? FALSE
             : REAL(GetFileInformationByHandle)(handle, information);
}

REDIRECT(DWORD, GetFileSize, HANDLE handle, LPDWORD sizeHigh) {
  return Fails(SystemCall::kGetFileSize) ? INVALID_FILE_SIZE
                                         : REAL(GetFileSize)(handle, sizeHigh);
}

REDIRECT(BOOL, GetUserNameA, LPSTR name, LPDWORD size) {
  return Fails(SystemCall::kGetUserName) ? FALSE : REAL(GetUserNameA)(name, size);
}

REDIRECT(BOOL, LockFileEx, HANDLE handle, DWORD flags, DWORD reserved, DWORD low,
         DWORD high, OVERLAPPED* range) {
  return Fails(SystemCall::kLockFileEx)
             ? FALSE
             : REAL(LockFileEx)(handle, flags, reserved, low, high, range);
}

REDIRECT(BOOL, MoveFileExA, LPCSTR from, LPCSTR to, DWORD flags) {
  if (Fails(SystemCall::kMoveFileEx)) {
    return FALSE;
  }
  const BOOL moved = REAL(MoveFileExA)(from, to, flags);
  return moved && Fails(SystemCall::kMoveFileExAfterwards) ? FALSE : moved;
}

REDIRECT(BOOL, ReadFile, HANDLE handle, LPVOID buffer, DWORD count, LPDWORD read,
         OVERLAPPED* overlapped) {
  return Fails(SystemCall::kReadFile)
             ? FALSE
             : REAL(ReadFile)(handle, buffer, count, read, overlapped);
}

REDIRECT(BOOL, SetEndOfFile, HANDLE handle) {
  return Fails(SystemCall::kSetEndOfFile) ? FALSE : REAL(SetEndOfFile)(handle);
}

REDIRECT(DWORD, SetFilePointer, HANDLE handle, LONG distance, PLONG distanceHigh,
         DWORD method) {
  return Fails(SystemCall::kSetFilePointer)
             ? INVALID_SET_FILE_POINTER
             : REAL(SetFilePointer)(handle, distance, distanceHigh, method);
}

REDIRECT(BOOL, UnlockFileEx, HANDLE handle, DWORD reserved, DWORD low, DWORD high,
         OVERLAPPED* range) {
  return Fails(SystemCall::kUnlockFileEx)
             ? FALSE
             : REAL(UnlockFileEx)(handle, reserved, low, high, range);
}

REDIRECT(int, gethostname, char* name, redirection::HostNameSize size) {
  return Fails(SystemCall::kGetHostName) ? -1 : REAL(gethostname)(name, size);
}
