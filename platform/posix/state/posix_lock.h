#pragma once

// Byte-range locks of handles.

#include <sys/types.h>

#include <windows.h>

namespace posix {

struct LockedRange {
  off_t start;
  off_t length;
  bool exclusive;
};

/// Locks a range for an open descriptor: a code, 0 on success, 33 when it is not to be
/// had. With `wait` it waits until it is to be had, and gives 6 when the descriptor is
/// closed meanwhile. Throws std::bad_alloc, and then has locked nothing.
DWORD LockRange(int fd, const LockedRange& range, bool wait);

/// Unlocks the range that was locked first of those with these bounds; 33 when there is
/// none.
DWORD UnlockRange(int fd, off_t start, off_t length);

/// Forgets all about a descriptor that is about to be closed, or was just opened.
void ForgetLocks(int fd) noexcept;

}  // namespace posix
