#pragma once

#include "KSTutl_export.h"

/// Locks or unlocks the file behind a descriptor of the run time, with the mode numbers
/// of the classic flock call:
///
///     mode  meaning
///     1     shared lock, waiting until it is granted
///     2     exclusive lock, waiting
///     5     shared lock, failing at once if it is not granted
///     6     exclusive lock, failing at once
///     8     unlock
///
/// Many may hold a shared lock at once, one alone an exclusive one. 0 is the result on
/// success. On failure it is -1, and `errno` is the number that the system gives the
/// error, not one of the run time's: 33 (lock violation) when the lock is not granted, 6
/// (invalid handle) for a bad descriptor. Any other mode is -1 with `errno` 22.
///
/// What is locked are the first 4,294,901,760 bytes (4 GiB less 64 KiB) whatever the
/// file's size; nothing is locked beyond them. The lock belongs to the open file, not to
/// the number of its descriptor: another open of the same file, in this process too, is
/// somebody else, a copy that `dup` has made or a child process has inherited is not. On
/// one open file an exclusive lock excludes a second one, a shared lock may be added to
/// it or to others, and each lock needs its own unlock, which releases the earliest.
///
/// Closing the descriptor by any call unlocks, and so does the end of the process. A
/// child process that has inherited the descriptor still keeps the file locked;
/// utl_noInheritFile prevents that. On Linux a child has every descriptor until it runs
/// its program: where other threads start programs, unlock before closing, or the next
/// one to lock the file may be refused for a moment.
///
/// REQUIRES: the file is not open for overlapped access, as no file of _open is.
///
/// Never throws. Threads: any; waiting blocks the calling thread.
///
///     if (utl_flock(fd, 2) == 0) {
///       ...                           // nobody else has the file locked
///       utl_flock(fd, 8);
///     }
KSTUTL_EXPORT int utl_flock(int descriptor, int mode);
