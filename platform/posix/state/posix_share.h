#pragma once

// Share modes between processes.

namespace posix {

/// The first of the far bytes whose locks carry the share modes. No byte-range
/// lock may reach it.
constexpr long long kFirstShareByte = 0x7FFFFFFFFFFFFFF0;

/// Tells other processes what an open of the file behind `fd` has and what it
/// does not share. False, and nothing is told, when theirs does not agree.
bool TellShares(int fd, unsigned access, unsigned share);

/// Whether another open of the file behind `fd` denies one of `rights`.
bool IsDeniedElsewhere(int fd, unsigned rights);

}  // namespace posix
