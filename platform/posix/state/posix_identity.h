#pragma once

// Which open file a descriptor is of.

#include <sys/types.h>

namespace posix {

/// What tells an open file from all others, those of the same file included. The number
/// of a descriptor does not: it may have been closed and be another file's by now,
/// without a call of this layer, or be one of several of one open file.
struct Identity {
  dev_t device = 0;
  ino_t inode = 0;
  off_t mark = 0;  // 0 where the file system takes none

  bool IsOfSameFile(const Identity& other) const {
    return inode == other.inode && device == other.device;
  }
};

/// Gives the open file behind `fd` a mark, for an identity's; 0 when that cannot be.
/// Those that it may have already, of another process, stay valid.
off_t PutMark(int fd);

/// Whether `fd` is open, and of that open file. Without a mark any open file of the same
/// file counts.
bool IsOf(int fd, const Identity& identity);

}  // namespace posix
