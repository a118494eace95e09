// Byte-range locks, by open file description: they belong to the handle, and go
// with it.
//
// Not emulated: locks are advisory (as under Wine); offsets in the last 16 bytes
// below 2^63 and beyond cannot be locked; ranges of one handle that overlap without
// being equal stay locked until the last of them is unlocked; an exclusive lock
// through a handle without write access only keeps out exclusive locks; a second
// exclusive lock of one handle on its own range fails at once where Windows waits
// for ever.

#include <fcntl.h>

#include <algorithm>
#include <cerrno>

#include "posix_error.h"
#include "posix_file.h"
#include "posix_share.h"

namespace posix {
namespace {

constexpr off_t kEnd = kFirstShareByte;

off_t Joined(DWORD low, DWORD high) {
  const ULONGLONG joined = static_cast<ULONGLONG>(high) << 32 | low;
  return static_cast<off_t>(std::min<ULONGLONG>(joined, kEnd));
}

// A length of 0 reaches to the end.
LockedRange Range(const OVERLAPPED& at, DWORD lengthLow, DWORD lengthHigh) {
  const off_t start = Joined(at.Offset, at.OffsetHigh);
  const off_t length = Joined(lengthLow, lengthHigh);
  const off_t room = kEnd - start;
  return {start, length == 0 ? room : std::min(length, room), false};
}

bool Apply(int fd, const LockedRange& range, short type, bool wait) {
  flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = range.start;
  lock.l_len = range.length;
  return Retried([&] { return fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock); }) ==
         0;
}

bool Lock(int fd, const LockedRange& range, bool wait) {
  if (!range.exclusive) return Apply(fd, range, F_RDLCK, wait);
  // An exclusive lock needs a descriptor that may write.
  return Apply(fd, range, F_WRLCK, wait) ||
         (errno == EBADF && Apply(fd, range, F_RDLCK, wait));
}

}  // namespace
}  // namespace posix

using namespace posix;

BOOL LockFileEx(HANDLE handle, DWORD flags, DWORD, DWORD lengthLow, DWORD lengthHigh,
                OVERLAPPED* overlapped) {
  unsigned access = 0;
  const int fd = DescriptorOf(handle);
  if (!AccessOf(fd, access)) return Fail(ERROR_INVALID_HANDLE);
  LockedRange range = Range(*overlapped, lengthLow, lengthHigh);
  range.exclusive = (flags & LOCKFILE_EXCLUSIVE_LOCK) != 0;
  if (range.length == 0) return Fail(ERROR_INVALID_PARAMETER);
  const OwnLocks own = NoteLock(fd, range);
  if (own == OwnLocks::kRefuse) return Fail(ERROR_LOCK_VIOLATION);
  const bool wait = (flags & LOCKFILE_FAIL_IMMEDIATELY) == 0;
  if (own == OwnLocks::kCovered || Lock(fd, range, wait)) return TRUE;
  const DWORD code = CodeFromErrno(errno);
  bool stillMet;
  ForgetLock(fd, range.start, range.length, stillMet);
  return Fail(code);
}

BOOL UnlockFileEx(HANDLE handle, DWORD, DWORD lengthLow, DWORD lengthHigh,
                  OVERLAPPED* overlapped) {
  unsigned access = 0;
  const int fd = DescriptorOf(handle);
  if (!AccessOf(fd, access)) return Fail(ERROR_INVALID_HANDLE);
  const LockedRange range = Range(*overlapped, lengthLow, lengthHigh);
  bool stillMet = false;
  if (!ForgetLock(fd, range.start, range.length, stillMet)) {
    return Fail(ERROR_LOCK_VIOLATION);
  }
  if (stillMet) return TRUE;
  return Apply(fd, range, F_UNLCK, false) ? TRUE : FailWithErrno();
}
