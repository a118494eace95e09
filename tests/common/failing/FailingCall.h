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
  kFlushFileBuffers,
  kGetDiskFreeSpaceEx,
  kGetFileInformationByHandle,
  kGetFileSize,
  kGetHostName,
  kGetProcessMemoryInfo,
  kGetProcessTimes,
  kGetUserName,
  kMoveFileEx,
  kMoveFileExAfterwards,  // moves, and fails all the same
  kOpenProcess,
  kReadFile,
  kSetEndOfFile,
  kSetFilePointer,
  kSetHandleInformation,
  kSocketStart,
  kWriteFile,
};

/// While it lives, one coming call fails without reaching the system:
///
///     FailingCall noSpace(SystemCall::kWriteFile, ERROR_DISK_FULL);
///     FailingCall third(SystemCall::kSetFilePointer, ERROR_NEGATIVE_SEEK, 3);
///
/// A failing CloseHandle closes all the same, so that the test leaks nothing. One object
/// at a time, in the thread that makes the calls.
class FailingCall {
 public:
  /// The next call of this kind fails with error number `code`, or the `nth`, 1 being
  /// the next.
  FailingCall(SystemCall call, DWORD code, int nth = 1);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  bool Happened() const;
};
