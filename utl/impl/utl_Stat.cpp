#include "utl/utl_Stat.h"

#include <io.h>
#include <windows.h>

#include "nex/nex_SystemErrorException.h"
#include "utl/impl/utl_ScopedHandle.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_Stat";

std::uint64_t Joined(DWORD high, DWORD low) {
  return std::uint64_t{high} << 32 | low;
}

// Seconds since 1970 from the system's 100-nanosecond steps since 1601.
std::int32_t Seconds(const FILETIME& time) {
  const auto steps = static_cast<double>(Joined(time.dwHighDateTime, time.dwLowDateTime));
  const double seconds = steps / 10'000'000.0 - 11'644'473'600.0 + 0.5;
  return static_cast<std::int32_t>(static_cast<std::int64_t>(seconds));
}

}  // namespace

utl_Stat::utl_Stat(const cow_String& name) {
  const utl_ScopedHandle handle(
      CreateFileA(name.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (handle.IsValid()) {
    ReadFrom(handle.Get());
    return;
  }
  error = omi_SystemErrorCode::FromLastError();
  if (error.Code() != ERROR_FILE_NOT_FOUND) {
    nex_SystemErrorException(error).Throw(kSource);
  }
}

utl_Stat::utl_Stat(int descriptor) {
  // The run time returns a handle as a number.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  if (handle == INVALID_HANDLE_VALUE) {
    nex_SystemErrorException(omi_SystemErrorCode::FromErrno()).Throw(kSource);
  }
  ReadFrom(handle);
}

utl_Stat::utl_Stat(void* handle) {
  ReadFrom(handle);
}

utl_Stat::utl_Stat(const utl_Stat& other) noexcept {
  *this = other;
}

utl_Stat& utl_Stat::operator=(const utl_Stat& other) noexcept {
  if (this == &other) {
    return *this;
  }
  flag = other.flag;
  size = other.size;
  fileIndex = other.fileIndex;
  linkCount = other.linkCount;
  accessTime = other.accessTime;
  writeTime = other.writeTime;
  creationTime = other.creationTime;
  isDirectory = other.isDirectory;
  isNormal = other.isNormal;
  record = other.record != nullptr ? &size : nullptr;
  error = other.error;
  return *this;
}

void utl_Stat::ThrowIfFileNotFound() const {
  if (record == nullptr) {
    nex_SystemErrorException(error).Throw(kSource);
  }
}

void utl_Stat::ReadFrom(void* handle) {
  BY_HANDLE_FILE_INFORMATION information = {};
  if (!GetFileInformationByHandle(handle, &information)) {
    nex_SystemErrorException(omi_SystemErrorCode::FromLastError()).Throw(kSource);
  }
  isDirectory = (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  isNormal = (information.dwFileAttributes & FILE_ATTRIBUTE_NORMAL) != 0;
  linkCount = information.nNumberOfLinks;
  size = Joined(information.nFileSizeHigh, information.nFileSizeLow);
  accessTime = Seconds(information.ftLastAccessTime);
  writeTime = Seconds(information.ftLastWriteTime);
  creationTime = Seconds(information.ftCreationTime);
  fileIndex = Joined(information.nFileIndexHigh, information.nFileIndexLow);
  record = &size;
}

utl_StatException::utl_StatException(const atr_String& message)
    : nex_TextException(message) {}

void utl_StatException::Propagate() const {
  throw *this;
}

utl_StatCantAccessFile::utl_StatCantAccessFile(const atr_String& message)
    : utl_StatException(message) {}

void utl_StatCantAccessFile::Propagate() const {
  throw *this;
}

utl_StatUnknownSystemError::utl_StatUnknownSystemError(const atr_String& message)
    : utl_StatException(message) {}

void utl_StatUnknownSystemError::Propagate() const {
  throw *this;
}
