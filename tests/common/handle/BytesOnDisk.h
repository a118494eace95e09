#pragma once

#include <cstdint>
#include <string>

/// How many bytes of the disk a file takes, which may be more than its size, or less.
/// Throws std::runtime_error when there is no such file.
std::int64_t BytesOnDisk(const std::string& path);
