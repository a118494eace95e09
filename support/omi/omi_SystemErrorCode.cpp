#include "omi/omi_SystemErrorCode.h"

#include <windows.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace {

constexpr DWORD kFromSystemAllocated = FORMAT_MESSAGE_ALLOCATE_BUFFER |
                                       FORMAT_MESSAGE_FROM_SYSTEM |
                                       FORMAT_MESSAGE_IGNORE_INSERTS;
constexpr DWORD kNeutralDefaultLanguage = 0x400;

struct LocalFreer {
  void operator()(char* text) const { LocalFree(text); }
};

std::string SystemText(int code) {
  char* buffer = nullptr;
  // With the allocate flag the argument is the address of the pointer to fill.
  const DWORD length = FormatMessageA(kFromSystemAllocated, nullptr,
                                      static_cast<DWORD>(code), kNeutralDefaultLanguage,
                                      reinterpret_cast<char*>(&buffer), 0, nullptr);
  const std::unique_ptr<char, LocalFreer> owner(buffer);
  return length == 0 ? std::string() : std::string(buffer, length);
}

}  // namespace

omi_SystemErrorCode omi_SystemErrorCode::FromErrno() {
  return {kRunTime, errno};
}

omi_SystemErrorCode omi_SystemErrorCode::FromLastError() {
  return {kSystem, static_cast<int>(GetLastError())};
}

std::string omi_SystemErrorCode::Text() const {
  const int runTimeError = errno;
  const DWORD systemError = GetLastError();
  std::string text = kind_ == kSystem ? SystemText(code_) : std::strerror(code_);
  SetLastError(systemError);
  errno = runTimeError;
  return text;
}
