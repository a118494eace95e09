#pragma once

// A file's status as the Windows calls show it.

#include <sys/stat.h>

#include <windows.h>

namespace posix {

/// FILE_ATTRIBUTE_*: directory or archive, and read-only when nobody may write.
DWORD AttributesOf(const struct stat& status);

/// 100-nanosecond intervals since 1601.
FILETIME FileTime(const timespec& time);

/// The time at which an open file was made. Where the file system does not keep it, the
/// earlier of the last write and the last change stands for it.
FILETIME CreationTime(int fd, const struct stat& status);

}  // namespace posix
