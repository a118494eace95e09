#pragma once

// A file's status as the Windows calls show it.

#include <sys/stat.h>

#include <windows.h>

namespace posix {

/// FILE_ATTRIBUTE_*: directory or archive, and read-only when nobody may write.
DWORD AttributesOf(const struct stat& status);

/// 100-nanosecond intervals since 1601.
FILETIME FileTime(const timespec& time);

/// The time of creation shown for a file: its last change of any kind, at most.
FILETIME CreationTime(const struct stat& status);

}  // namespace posix
