#pragma once

// What the tests of byte-range locks share.

#include <windows.h>

#include "platform/PlatformTest.h"

constexpr DWORD kTry = LOCKFILE_FAIL_IMMEDIATELY;
constexpr DWORD kTryExclusive = LOCKFILE_FAIL_IMMEDIATELY | LOCKFILE_EXCLUSIVE_LOCK;
constexpr DWORD kLocked = ERROR_LOCK_VIOLATION;

// The code, 0 on success, for `length` bytes from `start`.
inline DWORD LockCode(HANDLE handle, DWORD flags, DWORD start, DWORD length) {
  OVERLAPPED at = {};
  at.Offset = start;
  SetLastError(kUntouched);
  return LockFileEx(handle, flags, 0, length, 0, &at) ? 0 : GetLastError();
}

inline DWORD UnlockCode(HANDLE handle, DWORD start, DWORD length) {
  OVERLAPPED at = {};
  at.Offset = start;
  SetLastError(kUntouched);
  return UnlockFileEx(handle, 0, length, 0, &at) ? 0 : GetLastError();
}
