#pragma once

#include <cstdint>
#include <string>

/// Sets when `path` was last written, in milliseconds since 1970-01-01 00:00 UTC, which
/// the standard library's call truncates on Windows. Throws std::runtime_error when that
/// fails.
void SetWriteTime(const std::string& path, std::int64_t milliseconds);
