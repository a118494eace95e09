// omi_SystemErrorCode: an error number and its kind.

#pragma once

#include <string>

#include "KSTutl_export.h"

/// The error of a failed call: a number of the C run time (`errno`) or of the operating
/// system (`GetLastError`). The two ranges overlap, so the kind tells them apart.
///
/// Threads: a value; the capturing functions read the calling thread's number.
class omi_SystemErrorCode {
 public:
  static constexpr int kRunTime = 0;
  static constexpr int kSystem = 1;

  /// Run time, number 0: no error.
  omi_SystemErrorCode() = default;

  /// `kind` is `kRunTime` or `kSystem`.
  omi_SystemErrorCode(int kind, int code) : kind_(kind), code_(code) {}

  /// The run time's current error number. Call it right after the failed call, before
  /// anything else can disturb the number.
  KSTUTL_EXPORT static omi_SystemErrorCode FromErrno();

  /// The system's last error of this thread; the same care is due.
  KSTUTL_EXPORT static omi_SystemErrorCode FromLastError();

  int Kind() const { return kind_; }
  int Code() const { return code_; }

  /// The number's text in the system's words, line end included; empty when the system
  /// has no text for it. For example, on Windows number 2 of kind `kSystem` is "The
  /// system cannot find the file specified.\r\n". Reading it changes neither `errno` nor
  /// the last error.
  KSTUTL_EXPORT std::string Text() const;

  // The rest is implementation.

 private:
  int kind_ = kRunTime;
  int code_ = 0;
};
