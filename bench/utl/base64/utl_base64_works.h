#pragma once

#include <cstddef>

/// The works that have peers.
struct Base64Work {
  const char* name;
  std::size_t size;
};
inline constexpr Base64Work kBase64Works[] = {
    {"64 bytes", 64}, {"4 KB", 4096}, {"1 MB", std::size_t{1} << 20}};
