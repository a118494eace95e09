#pragma once

// Byte-range locks of handles.

#include <list>

#include <windows.h>
#include "platform/posix/state/posix_identity.h"
#include "platform/posix/state/posix_range.h"

namespace posix {

struct LockedRange {
  Range range;
  bool exclusive = false;
};

/// What is remembered of an open file's locks; posix_lock.cpp alone looks into it.
struct LockNotes {
  /// For the open file of `fd`, without locks.
  LockNotes(int fd, const Identity& openFile);

  enum class Asking { kNobody, kForShared, kForExclusive };
  struct Noted {
    LockedRange lock;
    bool isBorrowed;  // another process has it by the same open file
  };

  const Identity identity;
  const bool mayRead;
  const bool mayWrite;
  bool isClosed = false;
  Asking asking = Asking::kNobody;  // what a thread waits for in the system
  std::list<Noted> locks;           // the earliest first
};

/// Locks a range for an open descriptor and returns a code, 0 on success, 33 when others
/// have it locked. With `wait` it waits for them, and returns 6 when the descriptor is
/// closed meanwhile. Throws std::bad_alloc, and then has locked nothing.
DWORD LockRange(int fd, const LockedRange& lock, bool wait);

/// Unlocks the earliest locked range with these bounds; 33 when there is none.
DWORD UnlockRange(int fd, const Range& range);

/// Unlocks everything of an open file that is about to be closed. Its notes are then
/// unused.
void GiveLocksBack(int fd, LockNotes& notes) noexcept;

/// The same for a file that was closed by other means.
void ForgetLocks(LockNotes& notes) noexcept;

/// Keep the notes consistent while the process is forked; the child must then forget its
/// parent's.
void HoldLocks();
void LetLocksGo();
void LetLocksGoInChild();

}  // namespace posix
