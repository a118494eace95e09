#pragma once

/// The calls of POSIX that a test can cause to fail.
enum class PosixCall {
  kAcceptLock,  // returns without a failure, but locks nothing
  kAllocate,
  kAskForLock,
  kChangeDirectory,
  kChangeOwner,
  kClose,      // closes all the same
  kDuplicate,  // of a descriptor
  kFlush,
  kLock,
  kLockWaiting,
  kMakeNotices,
  kMakeSlot,  // for a value of each thread
  kMakeStream,
  kOpen,
  kOpenDirectory,
  kRead,
  kReadDirectory,
  kRename,
  kSetSize,
  kSetSlot,
  kSleep,
  kStatus,    // of a descriptor
  kStatusAt,  // of a name in a directory
  kStatusMore,
  kSystemOfFile,
  kTellWhole,  // name, without links
  kTestProcess,
  kUnlink,
  kUser,
  kWatch,
  kWrite,
};

/// While it lives, one coming call fails without reaching the system: as FailingCall, but
/// below the Windows calls, which make these. One object at a time; the calls of all
/// threads count.
///
///     FailingSystemCall second(PosixCall::kWrite, EINTR, 2);
class FailingSystemCall {
 public:
  /// The `nth` call of this kind, 1 being the next, fails with `number` in errno.
  FailingSystemCall(PosixCall call, int number, int nth = 1);
  ~FailingSystemCall();
  FailingSystemCall(const FailingSystemCall&) = delete;
  FailingSystemCall& operator=(const FailingSystemCall&) = delete;

  bool Happened() const;
};

namespace redirection {

/// Counts a call; true, with errno, for the one that is to fail.
bool Fails(PosixCall call);

}  // namespace redirection
