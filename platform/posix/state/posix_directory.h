#pragma once

// Flushing the names in a directory to the disk.

#include <string>

namespace posix {

/// A descriptor of the directory, or -1 with errno.
int OpenDirectory(const std::string& path);

/// Flushes the names in an open directory: false with errno.
bool FlushDirectory(int directory);

}  // namespace posix
