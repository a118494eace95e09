#include "utl/utl_flock.h"

#include <io.h>
#include <windows.h>

#include <cerrno>

namespace {

constexpr int kShared = 1;
constexpr int kExclusive = 2;
constexpr int kFailAtOnce = 4;
constexpr int kUnlock = 8;

// The locked range begins at offset 0 and has always had this length.
constexpr DWORD kLengthLow = 0xFFFF0000;
constexpr DWORD kLengthHigh = 0;

constexpr int kBadMode = 22;  // EINVAL

int Result(BOOL succeeded) {
  if (succeeded) {
    return 0;
  }
  errno = static_cast<int>(GetLastError());
  return -1;
}

int Lock(HANDLE file, DWORD flags) {
  OVERLAPPED from0 = {};
  return Result(LockFileEx(file, flags, 0, kLengthLow, kLengthHigh, &from0));
}

int Unlock(HANDLE file) {
  OVERLAPPED from0 = {};
  return Result(UnlockFileEx(file, 0, kLengthLow, kLengthHigh, &from0));
}

}  // namespace

int utl_flock(int descriptor, int mode) {
  // The run time returns a handle as a number; the system refuses an invalid one.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  const auto file = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  switch (mode) {
    case kShared:
      return Lock(file, 0);
    case kExclusive:
      return Lock(file, LOCKFILE_EXCLUSIVE_LOCK);
    case kShared | kFailAtOnce:
      return Lock(file, LOCKFILE_FAIL_IMMEDIATELY);
    case kExclusive | kFailAtOnce:
      return Lock(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY);
    case kUnlock:
      return Unlock(file);
    default:
      errno = kBadMode;
      return -1;
  }
}
