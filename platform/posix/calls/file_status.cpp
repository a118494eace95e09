// The status of open files.
//
// Not emulated: the hidden, system and other attributes, the number of the volume (one
// for all). A directory has one link and size 0.

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"
#include "platform/posix/state/posix_status.h"

namespace posix {
namespace {

constexpr ULONGLONG kSecondsFrom1601To1970 = 11644473600ULL;
constexpr DWORD kVolumeZ = 0x5A000000;

ULONGLONG Intervals(const timespec& time) {
  return (static_cast<ULONGLONG>(time.tv_sec) + kSecondsFrom1601To1970) * 10000000 +
         static_cast<ULONGLONG>(time.tv_nsec / 100);
}

FILETIME Halves(ULONGLONG intervals) {
  return {static_cast<DWORD>(intervals), static_cast<DWORD>(intervals >> 32)};
}

}  // namespace

DWORD AttributesOf(const struct stat& status) {
  const DWORD kind =
      S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  return kind | ((status.st_mode & 0222) == 0 ? FILE_ATTRIBUTE_READONLY : 0);
}

FILETIME FileTime(const timespec& time) {
  return Halves(Intervals(time));
}

FILETIME CreationTime(int fd, const struct stat& status) {
  struct statx more = {};
  if (statx(fd, "", AT_EMPTY_PATH, STATX_BTIME, &more) == 0 &&
      (more.stx_mask & STATX_BTIME) != 0) {
    return FileTime({more.stx_btime.tv_sec, static_cast<long>(more.stx_btime.tv_nsec)});
  }
  return Halves(std::min(Intervals(status.st_mtim), Intervals(status.st_ctim)));
}

}  // namespace posix

using namespace posix;

BOOL GetFileInformationByHandle(HANDLE handle, BY_HANDLE_FILE_INFORMATION* information) {
  struct stat status;
  const int fd = DescriptorOf(handle);
  if (fd < 0) {
    return Fail(ERROR_INVALID_HANDLE);
  }
  if (fstat(fd, &status) != 0) {
    return FailWithErrno();
  }
  const bool isDirectory = S_ISDIR(status.st_mode);
  const ULONGLONG size = isDirectory ? 0 : static_cast<ULONGLONG>(status.st_size);
  information->dwFileAttributes = AttributesOf(status);
  information->ftCreationTime = CreationTime(fd, status);
  information->ftLastAccessTime = FileTime(status.st_atim);
  information->ftLastWriteTime = FileTime(status.st_mtim);
  information->dwVolumeSerialNumber = kVolumeZ;
  information->nFileSizeHigh = static_cast<DWORD>(size >> 32);
  information->nFileSizeLow = static_cast<DWORD>(size);
  information->nNumberOfLinks = isDirectory ? 1 : static_cast<DWORD>(status.st_nlink);
  information->nFileIndexHigh = static_cast<DWORD>(status.st_ino >> 32);
  information->nFileIndexLow = static_cast<DWORD>(status.st_ino);
  return TRUE;
}
