#pragma once

// Which open file a descriptor belongs to.

#include <sys/types.h>

namespace posix {

/// What distinguishes an open file from all others, including those of the same file. The
/// number of a descriptor does not: it may have been closed and belong to another file by
/// now, without a call of this layer, or be one of several of one open file.
struct Identity {
  dev_t device = 0;
  ino_t inode = 0;
  off_t mark = 0;  // 0 where the file system takes none

  bool IsOfSameFile(const Identity& other) const {
    return inode == other.inode && device == other.device;
  }
};

/// Gives the open file of `fd` a mark for an identity; 0 when that is impossible. Marks
/// that another process has given it stay valid.
off_t PutMark(int fd);

/// Whether `fd` is open and belongs to that open file. Without a mark any open file of
/// the same file counts.
bool IsOf(int fd, const Identity& identity);

}  // namespace posix
