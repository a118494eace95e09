#pragma once

// Share modes between processes.

namespace posix {

/// Publishes to other processes the rights that an open of the file of `fd` has and those
/// that it denies. False, and nothing is published, when theirs conflict.
bool TellShares(int fd, unsigned access, unsigned share);

/// Withdraws this before `fd` is closed: a process that was just started has the open
/// file, too, until it runs another program.
void TakeSharesBack(int fd);

/// Whether another open of the file of `fd` denies one of `rights`.
bool IsDeniedElsewhere(int fd, unsigned rights);

}  // namespace posix
