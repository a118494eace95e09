// The C run time's calls on descriptors, over the Windows calls. A descriptor is
// the system's own.
//
// Not emulated: text mode (line ends pass as they are; the mode is only stored),
// _O_SEQUENTIAL, _O_RANDOM and the Unicode modes, _doserrno, and that a descriptor that
// has met the end finds nothing that is appended later until it seeks. Names are
// restricted as by CreateFileA.

#include <io.h>

#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdarg>

#include <windows.h>
#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"

using namespace posix;

namespace {

constexpr unsigned kLargestCount = 0x7FFFFFFF;

int FailWithLastError() {
  return FailRunTime(ErrnoFromCode(GetLastError()));
}

DWORD Access(int flags) {
  switch (flags & (_O_WRONLY | _O_RDWR)) {
    case _O_RDONLY:
      return GENERIC_READ;
    case _O_WRONLY:
      return GENERIC_WRITE;
    default:
      return GENERIC_READ | GENERIC_WRITE;
  }
}

DWORD Disposition(int flags) {
  switch (flags & (_O_CREAT | _O_EXCL | _O_TRUNC)) {
    case _O_CREAT:
      return OPEN_ALWAYS;
    case _O_CREAT | _O_EXCL:
    case _O_CREAT | _O_EXCL | _O_TRUNC:
      return CREATE_NEW;
    case _O_CREAT | _O_TRUNC:
      return CREATE_ALWAYS;
    case _O_TRUNC:
    case _O_TRUNC | _O_EXCL:
      return TRUNCATE_EXISTING;
    default:
      return OPEN_EXISTING;
  }
}

// The permissions that a mode of _open gives a new file: whoever may write may also read,
// and the owner may always read.
mode_t Permissions(int mode) {
  const mode_t given = static_cast<mode_t>(mode) & 0777;
  return given | (given & 0222) << 1 | 0400;
}

// The result of a read or write: a file that was not opened for it counts as a bad
// descriptor.
int Moved(BOOL succeeded, DWORD count) {
  if (succeeded) {
    return static_cast<int>(count);
  }
  return GetLastError() == ERROR_ACCESS_DENIED ? FailRunTime(EBADF) : FailWithLastError();
}

// False for counts with which nothing is read or written: these need their own test
// whether the descriptor is open, which otherwise the system makes.
bool IsUsualCount(unsigned int count) {
  return count > 0 && count <= kLargestCount;
}

int AnswerUnusual(int fd, unsigned int count) {
  if (!IsOpen(fd)) {
    return FailRunTime(EBADF);
  }
  return count == 0 ? 0 : FailRunTime(EINVAL);
}

}  // namespace

int _open(const char* path, int flags, ...) {
  DWORD attributes = FILE_ATTRIBUTE_NORMAL;
  mode_t permissions = 0;
  if ((flags & _O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    const int mode = va_arg(arguments, int);
    va_end(arguments);
    permissions = Permissions(mode);
    if ((mode & _S_IWRITE) == 0) {
      attributes = FILE_ATTRIBUTE_READONLY;
    }
  }
  if ((flags & _O_TEMPORARY) != 0) {
    attributes |= FILE_FLAG_DELETE_ON_CLOSE;
  }
  SECURITY_ATTRIBUTES security = {sizeof security, &permissions,
                                  (flags & _O_NOINHERIT) == 0};
  const HANDLE handle =
      CreateFileA(path, Access(flags), FILE_SHARE_READ | FILE_SHARE_WRITE, &security,
                  Disposition(flags), attributes, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return FailWithLastError();
  }
  const int fd = DescriptorOf(handle);
  if ((flags & _O_APPEND) != 0) {
    fcntl(fd, F_SETFL, O_APPEND);
  }
  ExchangeTextMode(fd, (flags & _O_BINARY) != 0 ? _O_BINARY : _O_TEXT);
  return fd;
}

int _close(int fd) {
  const int number = CloseFile(fd);
  return number == 0 ? 0 : FailRunTime(number);
}

int _read(int fd, void* buffer, unsigned int count) {
  if (!IsUsualCount(count)) {
    return AnswerUnusual(fd, count);
  }
  DWORD read = 0;
  const BOOL succeeded = ReadFile(HandleOf(fd), buffer, count, &read, nullptr);
  return Moved(succeeded, read);
}

int _write(int fd, const void* buffer, unsigned int count) {
  if (!IsUsualCount(count)) {
    return AnswerUnusual(fd, count);
  }
  DWORD written = 0;
  const BOOL succeeded = WriteFile(HandleOf(fd), buffer, count, &written, nullptr);
  return Moved(succeeded, written);
}

long long _lseeki64(int fd, long long offset, int origin) {
  if (!IsOpen(fd)) {
    return FailRunTime(EBADF);
  }
  if (origin < 0 || origin > 2) {
    return FailRunTime(EINVAL);
  }
  auto high = static_cast<LONG>(offset >> 32);
  SetLastError(NO_ERROR);
  const DWORD low = SetFilePointer(HandleOf(fd), static_cast<LONG>(offset), &high,
                                   static_cast<DWORD>(origin));
  if (low == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR) {
    return FailWithLastError();
  }
  return (static_cast<long long>(high) << 32) | low;
}

int _unlink(const char* path) {
  return DeleteFileA(path) ? 0 : FailWithLastError();
}

int _setmode(int fd, int mode) {
  if (!IsOpen(fd)) {
    return FailRunTime(EBADF);
  }
  if (mode != _O_TEXT && mode != _O_BINARY) {
    return FailRunTime(EINVAL);
  }
  return ExchangeTextMode(fd, mode);
}

std::intptr_t _get_osfhandle(int fd) {
  if (!IsOpen(fd)) {
    return FailRunTime(EBADF);
  }
  return reinterpret_cast<std::intptr_t>(HandleOf(fd));
}
