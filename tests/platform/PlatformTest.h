#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "common/temp/TempDir.h"

/// The expectations of tests/platform/ hold for the Windows calls on both targets;
/// where they cannot, differences.md says why.

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// A last error that no call sets: what it still is, the call has not touched.
constexpr DWORD kUntouched = 4711;

/// Closes its handle at the end.
class ScopedHandle {
 public:
  explicit ScopedHandle(HANDLE handle) : handle_(handle) {}
  ~ScopedHandle() { Close(); }
  ScopedHandle(const ScopedHandle&) = delete;
  ScopedHandle& operator=(const ScopedHandle&) = delete;

  operator HANDLE() const { return handle_; }
  bool IsValid() const { return handle_ != INVALID_HANDLE_VALUE; }
  void Close() {
    if (IsValid()) {
      CloseHandle(handle_);
    }
    handle_ = INVALID_HANDLE_VALUE;
  }

 private:
  HANDLE handle_;
};

inline HANDLE Open(const std::string& path, DWORD access = GENERIC_READ,
                   DWORD share = kShareAll, DWORD disposition = OPEN_EXISTING,
                   DWORD flags = 0) {
  return CreateFileA(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
}

/// The last error of a call that is to fail; 0 and a test failure if it succeeds.
template <typename Call>
DWORD CodeOf(Call call) {
  SetLastError(kUntouched);
  const bool succeeded = call();
  const DWORD code = GetLastError();
  EXPECT_FALSE(succeeded);
  return succeeded ? 0 : code;
}

/// The code with which an open fails, 0 when it succeeds (and is closed again).
inline DWORD OpenCode(const std::string& path, DWORD access = GENERIC_READ,
                      DWORD share = kShareAll, DWORD disposition = OPEN_EXISTING,
                      DWORD flags = 0) {
  SetLastError(kUntouched);
  const HANDLE handle = Open(path, access, share, disposition, flags);
  if (handle == INVALID_HANDLE_VALUE) {
    return GetLastError();
  }
  CloseHandle(handle);
  return 0;
}

inline bool WriteText(HANDLE handle, const std::string& text) {
  DWORD written = 0;
  return WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written,
                   nullptr) &&
         written == text.size();
}

inline std::string ReadText(HANDLE handle, DWORD count) {
  std::string text(count, '\0');
  DWORD read = 0;
  EXPECT_TRUE(ReadFile(handle, text.data(), count, &read, nullptr));
  text.resize(read);
  return text;
}

/// Moves to a 64-bit position; the one reached.
inline long long SeekTo(HANDLE handle, long long position, DWORD method = FILE_BEGIN) {
  LONG high = static_cast<LONG>(position >> 32);
  const DWORD low = SetFilePointer(handle, static_cast<LONG>(position), &high, method);
  return (static_cast<long long>(high) << 32) | low;
}

inline long long SizeOf(HANDLE handle) {
  DWORD high = 0;
  const DWORD low = GetFileSize(handle, &high);
  return (static_cast<long long>(high) << 32) | low;
}

/// Gives a file a second name.
bool MakeHardLink(const std::string& file, const std::string& secondName);

/// A directory with a file "a" of ten bytes and a directory "d" with a file "x".
class PlatformTest : public testing::Test {
 protected:
  PlatformTest();
  std::string Name(const std::string& name) const { return dir_.File(name); }

  TempDir dir_;
};
