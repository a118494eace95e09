#pragma once

#include <windows.h>

/// While it lives, a write takes at most `bytes` bytes and succeeds. One object at a
/// time.
class ShortWrites {
 public:
  explicit ShortWrites(DWORD bytes);
  ~ShortWrites();
  ShortWrites(const ShortWrites&) = delete;
  ShortWrites& operator=(const ShortWrites&) = delete;
};
