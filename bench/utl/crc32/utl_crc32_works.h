#pragma once

#include <cstddef>

/// The works that have peers.
struct Crc32Work {
  const char* name;
  std::size_t size;
};
inline constexpr Crc32Work kCrc32Works[] = {{"CRC-32 64 bytes", 64},
                                            {"CRC-32 16 KB", 16384},
                                            {"CRC-32 1 MB", std::size_t{1} << 20}};
