// The mark is a lock of the open file on one byte, far past the file's end, that nobody
// else locks: its offset is chosen at random. Two queries tell whether a descriptor
// belongs to the open file with a mark: whether the byte is locked at all, and whether
// the lock is another open file's. Nothing has to be cleaned up, and a child process that
// goes on without exec can ask, too.
//
// Two calls of fcntl work wherever share modes do, and cost half a microsecond. Other
// ways were no better: /proc may be missing; containers forbid kcmp, which also needs a
// second descriptor that would keep the file open; and other properties of an open file,
// like the signal of F_SETSIG, have a meaning of their own and no room for a number.

#include "platform/posix/state/posix_identity.h"

#include <sys/random.h>
#include <sys/stat.h>

#include <cstdint>

#include "platform/posix/state/posix_range.h"

namespace posix {
namespace {

// As many as there are bytes for those who share and may not read, one for each mark.
constexpr std::uint64_t kMarks = kFirstShareByte - kFirstSharersByte;

bool IsMarked(int fd, off_t mark) {
  return ItselfForbids(fd, F_WRLCK, {mark, 1});
}

}  // namespace

off_t PutMark(int fd) {
  std::uint64_t lot = 0;
  if (getrandom(&lot, sizeof lot, 0) != sizeof lot) {
    return 0;
  }
  const off_t mark = kFirstMark + static_cast<off_t>(lot % kMarks);
  const bool locked = SetLock(fd, F_RDLCK, {mark, 1}) || SetLock(fd, F_WRLCK, {mark, 1});
  // A file system may accept locks without recording them.
  return locked && IsMarked(fd, mark) ? mark : 0;
}

bool IsOf(int fd, const Identity& identity) {
  if (identity.mark != 0) {
    return IsMarked(fd, identity.mark);
  }
  struct stat status;
  return fstat(fd, &status) == 0 &&
         identity.IsOfSameFile({status.st_dev, status.st_ino, 0});
}

}  // namespace posix
