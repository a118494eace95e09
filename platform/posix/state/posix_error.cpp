// The last error of a thread, and the one table of error numbers.
//
// Not emulated: numbers without an entry in the table, which become 31 (a device
// attached to the system is not functioning).

#include "platform/posix/state/posix_error.h"

namespace posix {
namespace {

struct ErrorPair {
  int number;
  DWORD code;
};

constexpr ErrorPair kCodes[] = {
    {EACCES, ERROR_ACCESS_DENIED},
    {EAGAIN, ERROR_LOCK_VIOLATION},
    {EBADF, ERROR_INVALID_HANDLE},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {EDQUOT, ERROR_DISK_FULL},
    {EEXIST, ERROR_FILE_EXISTS},
    {EFAULT, ERROR_NOACCESS},
    {EFBIG, ERROR_DISK_FULL},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {EIO, ERROR_IO_DEVICE},
    {EISDIR, ERROR_ACCESS_DENIED},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {ENOSPC, ERROR_DISK_FULL},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EPERM, ERROR_ACCESS_DENIED},
    {EPIPE, ERROR_NO_DATA},
    {EROFS, ERROR_WRITE_PROTECT},
    {ESPIPE, ERROR_SEEK},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
};

// Where several codes share a number, it is the run time's, not the table above read
// backwards.
constexpr ErrorPair kNumbers[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOENT, ERROR_PATH_NOT_FOUND},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EACCES, ERROR_ACCESS_DENIED},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EACCES, ERROR_WRITE_PROTECT},
    {EACCES, ERROR_SHARING_VIOLATION},
    {EACCES, ERROR_LOCK_VIOLATION},
    {EEXIST, ERROR_FILE_EXISTS},
    {ENOSPC, ERROR_DISK_FULL},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {ENOENT, ERROR_FILENAME_EXCED_RANGE},
    {EPIPE, ERROR_NO_DATA},
};

thread_local DWORD lastError = ERROR_SUCCESS;

}  // namespace

DWORD CodeFromErrno(int number) {
  for (const ErrorPair& pair : kCodes) {
    if (pair.number == number) {
      return pair.code;
    }
  }
  return ERROR_GEN_FAILURE;
}

int ErrnoFromCode(DWORD code) {
  for (const ErrorPair& pair : kNumbers) {
    if (pair.code == code) {
      return pair.number;
    }
  }
  return EINVAL;
}

BOOL Fail(DWORD code) {
  lastError = code;
  return FALSE;
}

BOOL FailWithErrno() {
  return Fail(CodeFromErrno(errno));
}

int FailRunTime(int number) {
  errno = number;
  return -1;
}

}  // namespace posix

DWORD GetLastError() {
  return posix::lastError;
}

void SetLastError(DWORD code) {
  posix::lastError = code;
}
