#pragma once

// What the files of this layer share about errors: the one table from errno to
// Windows error codes, and the way back for the C run time's calls.

#include <cerrno>

#include <windows.h>

namespace posix {

/// The Windows code for an errno value. ENOENT becomes 2: only the name tells whether it
/// is the directory that is missing (see posix_path.h).
DWORD CodeFromErrno(int number);

/// The errno value that the C run time reports for a Windows code.
int ErrnoFromCode(DWORD code);

/// Sets the last error; false, for `return Fail(...)`.
BOOL Fail(DWORD code);
/// The same with the present errno's code.
BOOL FailWithErrno();

/// Sets errno; -1, for `return FailRunTime(...)` in the C run time's calls.
int FailRunTime(int number);

/// The result of a call of the system, which is repeated each time a signal has
/// interrupted it.
template <typename Call>
auto Retried(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) {
    result = call();
  }
  return result;
}

}  // namespace posix
