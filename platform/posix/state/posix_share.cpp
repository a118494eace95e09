// Share modes between processes: six bytes far behind any file's end, locked by
// open file description, so that the kernel lets go when the last descriptor of
// an open is closed, a killed process's too. Each of the
// rights to read, write and delete has two: a read lock on the first says "somebody
// has it", one on the second "somebody denies it to others".
//
// Not emulated: share modes between processes on file systems without such locks,
// and for a file that this process may write but not read (the locks need a
// readable descriptor); inside one process the table of open files still holds.

#include "platform/posix/state/posix_share.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/posix/state/posix_file.h"

namespace posix {
namespace {

constexpr unsigned kRights[] = {kRead, kWrite, kDelete};

flock ShareByte(short type, unsigned right, bool denied) {
  flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  // The rights 1, 2, 4 have the bytes 0, 2, 4.
  lock.l_start = kFirstShareByte + (right & ~1U) + (denied ? 1 : 0);
  lock.l_len = 1;
  return lock;
}

void Tell(int fd, unsigned right, bool denied) {
  flock lock = ShareByte(F_RDLCK, right, denied);
  fcntl(fd, F_OFD_SETLK, &lock);
}

bool SomebodyTells(int fd, unsigned right, bool denied) {
  flock lock = ShareByte(F_WRLCK, right, denied);
  return fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

void TakeBack(int fd) {
  flock lock = ShareByte(F_UNLCK, kRead, false);
  lock.l_len = 6;
  fcntl(fd, F_OFD_SETLK, &lock);
}

}  // namespace

bool IsDeniedElsewhere(int fd, unsigned rights) {
  for (const unsigned right : kRights) {
    if ((rights & right) != 0 && SomebodyTells(fd, right, true)) return true;
  }
  return false;
}

bool TellShares(int fd, unsigned access, unsigned share) {
  // First told, then looked: of two that do so at once at least one sees the other.
  bool refused = false;
  for (const unsigned right : kRights) {
    if ((access & right) != 0) Tell(fd, right, false);
    if ((share & right) == 0) Tell(fd, right, true);
  }
  for (const unsigned right : kRights) {
    if ((share & right) == 0 && SomebodyTells(fd, right, false)) refused = true;
  }
  if (IsDeniedElsewhere(fd, access)) refused = true;
  if (refused) TakeBack(fd);
  return !refused;
}

}  // namespace posix
