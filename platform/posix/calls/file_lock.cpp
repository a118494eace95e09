// Locking ranges of files.
//
// Not emulated: locks are advisory (as under Wine); offsets from 2^61 cannot be locked; a
// length of 0 reaches to the end from wherever it starts. posix_lock.cpp lists the rest.

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"
#include "platform/posix/state/posix_lock.h"
#include "platform/posix/state/posix_range.h"

namespace posix {
namespace {

off_t Joined(DWORD low, DWORD high) {
  const ULONGLONG joined = static_cast<ULONGLONG>(high) << 32 | low;
  return static_cast<off_t>(std::min<ULONGLONG>(joined, kRangesEnd));
}

// A length of 0 reaches to the end.
Range RangeOf(const OVERLAPPED& at, DWORD lengthLow, DWORD lengthHigh) {
  const off_t start = Joined(at.Offset, at.OffsetHigh);
  const off_t length = Joined(lengthLow, lengthHigh);
  const off_t room = kRangesEnd - start;
  return {start, length == 0 ? room : std::min(length, room)};
}

// Only files have ranges to lock.
DWORD CheckFile(int fd) {
  struct stat status;
  if (fd < 0 || fstat(fd, &status) != 0) {
    return ERROR_INVALID_HANDLE;
  }
  if (S_ISREG(status.st_mode)) {
    return ERROR_SUCCESS;
  }
  const bool isDevice = S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
  return isDevice ? ERROR_INVALID_FUNCTION : ERROR_INVALID_HANDLE;
}

BOOL Result(DWORD code) {
  return code == ERROR_SUCCESS ? TRUE : Fail(code);
}

}  // namespace
}  // namespace posix

using namespace posix;

BOOL LockFileEx(HANDLE handle, DWORD flags, DWORD, DWORD lengthLow, DWORD lengthHigh,
                OVERLAPPED* overlapped) try {
  const int fd = DescriptorOf(handle);
  const DWORD code = CheckFile(fd);
  if (code != ERROR_SUCCESS) {
    return Fail(code);
  }
  const LockedRange lock = {RangeOf(*overlapped, lengthLow, lengthHigh),
                            (flags & LOCKFILE_EXCLUSIVE_LOCK) != 0};
  if (lock.range.length == 0) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const int number = errno;  // the run time's, which this call leaves alone
  const DWORD result = LockRange(fd, lock, (flags & LOCKFILE_FAIL_IMMEDIATELY) == 0);
  errno = number;
  return Result(result);
} catch (const std::bad_alloc&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY);
}

BOOL UnlockFileEx(HANDLE handle, DWORD, DWORD lengthLow, DWORD lengthHigh,
                  OVERLAPPED* overlapped) try {
  const int fd = DescriptorOf(handle);
  const DWORD code = CheckFile(fd);
  // A device has no locks, so none is found.
  if (code != ERROR_SUCCESS && code != ERROR_INVALID_FUNCTION) {
    return Fail(code);
  }
  const int number = errno;
  const DWORD result = UnlockRange(fd, RangeOf(*overlapped, lengthLow, lengthHigh));
  errno = number;
  return Result(result);
} catch (const std::bad_alloc&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY);
}
