#pragma once

// Share modes between processes.

namespace posix {

/// Tells other processes what an open of the file behind `fd` has and what it
/// does not share. False, and nothing is told, when theirs does not agree.
bool TellShares(int fd, unsigned access, unsigned share);

/// Takes back what was told, before `fd` is closed: a process that was just started has
/// the open file, too, until it runs another program.
void TakeSharesBack(int fd);

/// Whether another open of the file behind `fd` denies one of `rights`.
bool IsDeniedElsewhere(int fd, unsigned rights);

}  // namespace posix
