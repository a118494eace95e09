#pragma once

// Locks of open files on ranges of bytes ("open file description locks"), by which the
// layer publishes facts about a file to all processes. Such a lock belongs to the open
// file, whatever numbers its descriptors have in which processes, and ends with the last
// of them.
//
// The ranges that callers lock lie below 2^61. Offsets that no file reaches have other
// purposes:
//
//     from 2^61           the callers' ranges again, for exclusive locks of descriptors
//                         that may not write (posix_lock.cpp)
//     from 2^62           marks of open files (posix_identity.cpp)
//     from 2^62 + 2^61    one byte for each shared lock of a descriptor that may not
//                         read (posix_lock.cpp)
//     the last six bytes  share modes (posix_share.cpp)

#include <fcntl.h>
#include <sys/types.h>

#include <optional>

namespace posix {

constexpr off_t kRangesEnd = off_t{1} << 61;
constexpr off_t kFirstReaderByte = kRangesEnd;
constexpr off_t kFirstMark = off_t{1} << 62;
constexpr off_t kFirstSharersByte = kFirstMark + kRangesEnd;
constexpr off_t kFirstShareByte = 0x7FFFFFFFFFFFFFF0;

struct Range {
  off_t start = 0;
  off_t length = 0;

  bool operator==(const Range&) const = default;
};

/// Locks a range for the open file of `fd`, F_RDLCK or F_WRLCK, or unlocks it, F_UNLCK.
/// What the open file had locked of it before is replaced. False, with EAGAIN, when
/// another open file's lock conflicts; EBADF when `fd` may not read (F_RDLCK) or not
/// write (F_WRLCK).
bool SetLock(int fd, short type, const Range& range);

/// The same, but waits until no other open file's lock conflicts. `fd` must not be closed
/// meanwhile: after a signal it is used again.
bool SetLockWaiting(int fd, short type, const Range& range);

/// Whether a lock of another open file conflicts with one of `type`.
bool OthersForbid(int fd, short type, const Range& range);

/// The first lock that conflicts with one of `type` when the open file's own locks, set
/// by this process or another, count as well.
std::optional<Range> FirstLock(int fd, short type, const Range& range);

/// Whether there is such a lock, and all such locks are the open file's own.
inline bool ItselfForbids(int fd, short type, const Range& range) {
  return FirstLock(fd, type, range) && !OthersForbid(fd, type, range);
}

}  // namespace posix
