#include "common/handle/FileTime.h"

#include <windows.h>

#include <stdexcept>

void SetWriteTime(const std::string& path, std::int64_t milliseconds) {
  constexpr std::int64_t kSecondsFrom1601 = 11'644'473'600;
  const std::int64_t steps = (milliseconds + kSecondsFrom1601 * 1000) * 10'000;
  const FILETIME written = {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
  const HANDLE file = CreateFileA(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ,
                                  nullptr, OPEN_EXISTING, 0, nullptr);
  const BOOL set = SetFileTime(file, nullptr, nullptr, &written);
  CloseHandle(file);
  if (!set) {
    throw std::runtime_error("cannot set the time of " + path);
  }
}
