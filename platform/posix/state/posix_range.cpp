// Not emulated: any of this on file systems without such locks.

#include "platform/posix/state/posix_range.h"

#include "platform/posix/state/posix_error.h"

namespace posix {
namespace {

flock Record(short type, const Range& range) {
  flock record = {};
  record.l_type = type;
  record.l_whence = SEEK_SET;
  record.l_start = range.start;
  record.l_len = range.length;
  return record;
}

bool Set(int fd, int command, short type, const Range& range) {
  flock record = Record(type, range);
  return Retried([&] { return fcntl(fd, command, &record); }) == 0;
}

}  // namespace

bool SetLock(int fd, short type, const Range& range) {
  return Set(fd, F_OFD_SETLK, type, range);
}

bool SetLockWaiting(int fd, short type, const Range& range) {
  return Set(fd, F_OFD_SETLKW, type, range);
}

bool OthersForbid(int fd, short type, const Range& range) {
  flock record = Record(type, range);
  return fcntl(fd, F_OFD_GETLK, &record) == 0 && record.l_type != F_UNLCK;
}

// Asks by the classic locks, which belong to a process: to these the locks of every open
// file are another one's.
std::optional<Range> FirstLock(int fd, short type, const Range& range) {
  flock record = Record(type, range);
  if (fcntl(fd, F_GETLK, &record) != 0 || record.l_type == F_UNLCK) {
    return std::nullopt;
  }
  return Range{record.l_start, record.l_len};
}

}  // namespace posix
