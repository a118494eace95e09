#pragma once

#include <windows.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// The calls of the library to the system that a test can watch and make fail.
enum class SystemCall {
  kAccess,
  kCloseHandle,
  kCreateFile,
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
  kOpenProcess,
  kReadFile,
  kSetEndOfFile,
  kSetFilePointer,
  kSetHandleInformation,
  kSocketStart,
  kWriteFile,
};

/// While it lives, one coming call of the library fails without reaching the system:
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

/// While it lives, a write of the library takes at most `bytes` bytes and succeeds.
class ShortWrites {
 public:
  explicit ShortWrites(DWORD bytes);
  ~ShortWrites();
  ShortWrites(const ShortWrites&) = delete;
  ShortWrites& operator=(const ShortWrites&) = delete;
};

/// While it lives, a pause of the library ends at once, after a call of `action` with its
/// milliseconds. One object at a time.
class InsteadOfSleep {
 public:
  explicit InsteadOfSleep(std::function<void(DWORD)> action);
  ~InsteadOfSleep();
  InsteadOfSleep(const InsteadOfSleep&) = delete;
  InsteadOfSleep& operator=(const InsteadOfSleep&) = delete;
};

/// While it lives, the library is told of any disk that this many bytes are free to the
/// caller and on the drive. One object at a time.
///
///     FakeDiskSpace full(0, 4096);
class FakeDiskSpace {
 public:
  FakeDiskSpace(ULONGLONG toCaller, ULONGLONG onDrive);
  ~FakeDiskSpace();
  FakeDiskSpace(const FakeDiskSpace&) = delete;
  FakeDiskSpace& operator=(const FakeDiskSpace&) = delete;

  /// The directory that the library asked about last.
  const std::string& Asked() const;
};

/// Counts the library's searches of directories from the construction on. One object at a
/// time.
class WatchedSearches {
 public:
  WatchedSearches();
  /// How many were begun.
  int Begun() const;
  /// How many of them were closed.
  int Closed() const;
};

/// Watches SetHandleInformation from the construction on. One object at a time.
class WatchedInheritance {
 public:
  WatchedInheritance();
  int Calls() const;
  // What the library handed to its last call.
  HANDLE Handle() const;
  DWORD Mask() const;
  DWORD Flags() const;
};

/// What the library handed to its last CreateFileA.
struct CreateFileArguments {
  DWORD access;
  DWORD shares;
  DWORD creation;
  DWORD flags;
  bool hasSecurity;
  bool hasTemplate;

  bool operator==(const CreateFileArguments&) const = default;
};
std::ostream& operator<<(std::ostream& out, const CreateFileArguments& arguments);

/// Watches CreateFileA from the construction on.
class WatchedCreateFile {
 public:
  WatchedCreateFile();
  CreateFileArguments Last() const;
};

/// Watches the starts and ends of the socket layer from the construction on. One object
/// at a time.
class WatchedSockets {
 public:
  /// `atEnd`, unless empty, is called at every end, before the layer goes down. A granted
  /// version other than 0 is what the library is told of each start.
  explicit WatchedSockets(std::function<void()> atEnd = {}, WORD granted = 0);
  ~WatchedSockets();
  WatchedSockets(const WatchedSockets&) = delete;
  WatchedSockets& operator=(const WatchedSockets&) = delete;

  /// The versions asked for, the major number in the low byte.
  const std::vector<WORD>& Starts() const;
  int Ends() const;
};

// For the redirected calls, one version a target.
namespace redirection {

constexpr int kSocketsNotReady = 10091;

/// Has the library's calls go through the functions of this program.
void Install();
/// Counts a call; true, with the last error set, for the one that is to fail.
bool Fails(SystemCall call);
DWORD WriteLimit(DWORD count);
/// Does what replaces a pause; false when it is to be made.
bool ReplaceSleep(DWORD milliseconds);
/// Answers for a disk; false when the system is to be asked.
bool ReplaceDiskSpace(const char* directory, ULARGE_INTEGER* toCaller,
                      ULARGE_INTEGER* onDrive);
void Record(const CreateFileArguments& arguments);
void RecordSearchBegin(HANDLE search);
void RecordSearchEnd();
void RecordInheritance(HANDLE handle, DWORD mask, DWORD flags);
/// Also changes the granted version where a test wants another one.
void RecordSocketStart(WORD asked, WORD& granted);
void RecordSocketEnd();

}  // namespace redirection
