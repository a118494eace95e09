#pragma once

#include <windows.h>

#include <utility>

/// Owns a handle of the system, or INVALID_HANDLE_VALUE for none, and closes it at the
/// end of its scope. A failing close is not reported.
class utl_ScopedHandle {
 public:
  explicit utl_ScopedHandle(HANDLE handle) noexcept : handle_(handle) {}
  utl_ScopedHandle(const utl_ScopedHandle&) = delete;
  utl_ScopedHandle& operator=(const utl_ScopedHandle&) = delete;
  ~utl_ScopedHandle() {
    if (IsValid()) {
      CloseHandle(handle_);
    }
  }

  bool IsValid() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const noexcept { return handle_; }
  /// Leaves the handle to the caller.
  HANDLE Release() noexcept { return std::exchange(handle_, INVALID_HANDLE_VALUE); }

 private:
  HANDLE handle_;
};
