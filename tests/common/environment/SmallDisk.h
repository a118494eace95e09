#pragma once

#include <cstdint>
#include <string>

/// Gives this process a disk of its own, of `bytes` bytes, in place of an existing
/// directory; false where that is impossible. In a child process only: this cannot be
/// undone. Other processes see the directory as it was.
bool MountSmallDisk(const std::string& directory, std::int64_t bytes);
