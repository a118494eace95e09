// Share modes between processes: six bytes far past any file's end, locked for the open
// file, so that the system unlocks them for a killed process, too. Each of the rights to
// read, write and delete has two: a read lock on the first says "somebody has it", one on
// the second "somebody denies it to others".
//
// Not emulated: share modes between processes on file systems without such locks,
// and for a file that this process may write but not read (the locks need a
// readable descriptor); inside one process the table of open files still holds.

#include "platform/posix/state/posix_share.h"

#include "platform/posix/state/posix_file.h"
#include "platform/posix/state/posix_range.h"

namespace posix {
namespace {

constexpr unsigned kRights[] = {kRead, kWrite, kDelete};

// The rights 1, 2, 4 have the bytes 0, 2, 4.
Range ShareByte(unsigned right, bool denied) {
  return {kFirstShareByte + (right & ~1U) + (denied ? 1 : 0), 1};
}

bool SomebodyTells(int fd, unsigned right, bool denied) {
  return OthersForbid(fd, F_WRLCK, ShareByte(right, denied));
}

}  // namespace

bool IsDeniedElsewhere(int fd, unsigned rights) {
  for (const unsigned right : kRights) {
    if ((rights & right) != 0 && SomebodyTells(fd, right, true)) {
      return true;
    }
  }
  return false;
}

bool TellShares(int fd, unsigned access, unsigned share) {
  // Lock first, then look: of two that do so at once at least one sees the other.
  bool refused = false;
  for (const unsigned right : kRights) {
    if ((access & right) != 0) {
      SetLock(fd, F_RDLCK, ShareByte(right, false));
    }
    if ((share & right) == 0) {
      SetLock(fd, F_RDLCK, ShareByte(right, true));
    }
  }
  for (const unsigned right : kRights) {
    if ((share & right) == 0 && SomebodyTells(fd, right, false)) {
      refused = true;
    }
  }
  if (IsDeniedElsewhere(fd, access)) {
    refused = true;
  }
  if (refused) {
    TakeSharesBack(fd);
  }
  return !refused;
}

void TakeSharesBack(int fd) {
  SetLock(fd, F_UNLCK, {kFirstShareByte, 6});
}

}  // namespace posix
