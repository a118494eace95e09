#pragma once

/// The calls of POSIX that a test can cause to fail.
enum class PosixCall { kOpen, kWrite, kSetSize, kAllocate, kFlush, kRename, kUnlink };

/// While it lives, one coming call fails without reaching the system: as FailingCall, but
/// below the Windows calls, which make these. One object at a time, in the thread that
/// makes the calls.
///
///     FailingSystemCall second(PosixCall::kWrite, EINTR, 2);
class FailingSystemCall {
 public:
  /// The `nth` call of this kind, 1 being the next, fails with `number` in errno.
  FailingSystemCall(PosixCall call, int number, int nth);
  ~FailingSystemCall();
  FailingSystemCall(const FailingSystemCall&) = delete;
  FailingSystemCall& operator=(const FailingSystemCall&) = delete;

  bool Happened() const;
};
