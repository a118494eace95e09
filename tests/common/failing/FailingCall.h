#pragma once

#include <windows.h>

/// The system's calls that a test can cause to fail.
enum class SystemCall {
  kAccess,
  kCloseHandle,
  kCreateFile,
  kDeleteFile,
  kEnumProcessModules,
  kFindFirstFile,
  kFindFirstFileByNull,  // answers null instead of INVALID_HANDLE_VALUE
  kFindNextFile,
  kFlushDirectory,  // POSIX
  kFlushFileBuffers,
  kGetDiskFreeSpaceEx,
  kGetFileInformationByHandle,
  kGetFileSize,
  kGetHostName,
  kGetProcessMemoryInfo,
  kGetProcessTimes,
  kGetUserName,
  kLockFileEx,
  kMoveFileEx,
  kMoveFileExAfterwards,  // moves, and fails all the same
  kOpenProcess,
  kReadFile,
  kSetEndOfFile,
  kSetFilePointer,
  kSetHandleInformation,
  kSocketStart,
  kUnlockFileEx,
  kWriteFile,
};

/// Whether one call fails, or all that follow it, too.
enum class Failing { kOnce, kFromThenOn };

/// While it lives, one coming call, or each from one on, fails without reaching the
/// system:
///
///     FailingCall noSpace(SystemCall::kWriteFile, ERROR_DISK_FULL);
///     FailingCall third(SystemCall::kSetFilePointer, ERROR_NEGATIVE_SEEK, 3);
///     FailingCall broken(SystemCall::kReadFile, ERROR_IO_DEVICE, 1,
///     Failing::kFromThenOn);
///
/// A failing CloseHandle closes all the same, so that the test leaks nothing. One object
/// at a time, in the thread that makes the calls.
class FailingCall {
 public:
  /// The next call of this kind fails with error number `code`, or the `nth`, 1 being
  /// the next.
  FailingCall(SystemCall call, DWORD code, int nth = 1, Failing failing = Failing::kOnce);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  bool Happened() const;
};

/// Ends this process at once, with status 99, at the `nth` call from here on that a test
/// can cause to fail, of any kind, or, on POSIX, that changes a file or its name: as if
/// it were killed there.
void DieAtCall(int nth);
