// Reading, writing, positions and sizes of open files.
//
// Not emulated: overlapped operation (the argument is ignored), the end of a pipe
// as an error (it reads as 0 bytes). A process whose file size is limited (ulimit -f)
// is stopped by SIGXFSZ unless it ignores the signal, and one that writes to a closed
// pipe by SIGPIPE.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"

namespace posix {
namespace {

// The system takes no more at once than 2 GiB less a page.
constexpr size_t kLargestPiece = 0x40000000;

// The descriptor of an open handle, or -1 after setting the last error. Each of
// `rights` must be there, or the code is 5.
int Usable(HANDLE handle, unsigned rights) {
  const int fd = DescriptorOf(handle);
  unsigned access = 0;
  if (!AccessOf(fd, access)) {
    SetLastError(ERROR_INVALID_HANDLE);
    return -1;
  }
  if ((access & rights) != rights) {
    SetLastError(ERROR_ACCESS_DENIED);
    return -1;
  }
  return fd;
}

// Moves `count` bytes by `move(done, piece)`, a read or write. What was moved
// before a failure counts, and the failure does not: the next call will meet it.
// `stopsShort()` tells, when fewer were moved, whether that is all for now.
template <typename Move, typename StopsShort>
bool MoveAll(DWORD count, DWORD& done, Move move, StopsShort stopsShort) {
  done = 0;
  do {
    const size_t piece = std::min<size_t>(count - done, kLargestPiece);
    const ssize_t moved = Retried([&] { return move(done, piece); });
    if (moved < 0) return done > 0;
    done += static_cast<DWORD>(moved);
    if (moved == 0 || (done < count && stopsShort())) return true;
  } while (done < count);
  return true;
}

bool IsRegular(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

// A directory's size shows as 0.
bool SizeOf(int fd, off_t& size) {
  struct stat status;
  if (fstat(fd, &status) != 0) return false;
  size = S_ISDIR(status.st_mode) ? 0 : status.st_size;
  return true;
}

off_t Joined(LONG low, const LONG* high) {
  if (high == nullptr) return low;
  return static_cast<off_t>(static_cast<ULONGLONG>(static_cast<DWORD>(*high)) << 32 |
                            static_cast<DWORD>(low));
}

// The position to which a distance leads, or a negative number with the last error
// set.
off_t Target(int fd, off_t distance, DWORD method) {
  off_t base = 0;
  if (method == FILE_CURRENT) base = lseek(fd, 0, SEEK_CUR);
  if (base < 0 || (method == FILE_END && !SizeOf(fd, base))) {
    FailWithErrno();
    return -1;
  }
  off_t target;
  if (__builtin_add_overflow(base, distance, &target) || target < 0) {
    Fail(ERROR_NEGATIVE_SEEK);
    return -1;
  }
  return target;
}

// A low half that looks like the failure mark is told from it by a last error of 0.
DWORD LowHalf(off_t value) {
  const auto low = static_cast<DWORD>(value);
  if (low == INVALID_FILE_SIZE) SetLastError(NO_ERROR);
  return low;
}

}  // namespace
}  // namespace posix

using namespace posix;

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD count, LPDWORD read, OVERLAPPED*) {
  DWORD unwanted = 0;
  DWORD& done = read != nullptr ? *read : unwanted;
  done = 0;
  const int fd = Usable(handle, kRead);
  if (fd < 0) return FALSE;
  if (buffer == nullptr && count > 0) return Fail(ERROR_NOACCESS);
  const auto move = [fd, buffer](DWORD from, size_t piece) {
    return ::read(fd, static_cast<char*>(buffer) + from, piece);
  };
  // A pipe or a terminal gives what is there; a file everything up to its end.
  if (MoveAll(count, done, move, [fd] { return !IsRegular(fd); })) return TRUE;
  return errno == EISDIR ? Fail(ERROR_INVALID_FUNCTION) : FailWithErrno();
}

BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD count, LPDWORD written, OVERLAPPED*) {
  DWORD unwanted = 0;
  DWORD& done = written != nullptr ? *written : unwanted;
  done = 0;
  const int fd = Usable(handle, kWrite);
  if (fd < 0) return FALSE;
  if (count == 0) return TRUE;
  const auto move = [fd, buffer](DWORD from, size_t piece) {
    return ::write(fd, static_cast<const char*>(buffer) + from, piece);
  };
  if (MoveAll(count, done, move, [] { return false; })) return TRUE;
  return errno == EFAULT ? Fail(ERROR_INVALID_USER_BUFFER) : FailWithErrno();
}

DWORD SetFilePointer(HANDLE handle, LONG distance, PLONG distanceHigh, DWORD method) {
  if (method > FILE_END) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_SET_FILE_POINTER;
  }
  const int fd = Usable(handle, 0);
  if (fd < 0) return INVALID_SET_FILE_POINTER;
  const off_t target = Target(fd, Joined(distance, distanceHigh), method);
  if (target < 0) return INVALID_SET_FILE_POINTER;
  if (lseek(fd, target, SEEK_SET) < 0) {
    FailWithErrno();
    return INVALID_SET_FILE_POINTER;
  }
  if (distanceHigh != nullptr) *distanceHigh = static_cast<LONG>(target >> 32);
  return LowHalf(target);
}

BOOL SetEndOfFile(HANDLE handle) {
  unsigned access = 0;
  const int fd = DescriptorOf(handle);
  if (!AccessOf(fd, access)) return Fail(ERROR_INVALID_HANDLE);
  if ((access & kWrite) == 0) return Fail(ERROR_INVALID_PARAMETER);
  const off_t position = lseek(fd, 0, SEEK_CUR);
  if (position < 0) return FailWithErrno();
  const int result = Retried([&] { return ftruncate(fd, position); });
  return result == 0 ? TRUE : FailWithErrno();
}

DWORD GetFileSize(HANDLE handle, LPDWORD sizeHigh) {
  const int fd = Usable(handle, 0);
  if (fd < 0) return INVALID_FILE_SIZE;
  off_t size = 0;
  if (!SizeOf(fd, size)) {
    FailWithErrno();
    return INVALID_FILE_SIZE;
  }
  if (sizeHigh != nullptr) *sizeHigh = static_cast<DWORD>(size >> 32);
  return LowHalf(size);
}

BOOL FlushFileBuffers(HANDLE handle) {
  const int fd = Usable(handle, kWrite);
  if (fd < 0) return FALSE;
  const int result = Retried([&] { return fsync(fd); });
  // Devices that have nothing to flush say EINVAL.
  return result == 0 || errno == EINVAL ? TRUE : FailWithErrno();
}

BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags) {
  const int fd = Usable(handle, 0);
  if (fd < 0) return FALSE;
  if ((mask & HANDLE_FLAG_INHERIT) == 0) return TRUE;
  const int closeOnExec = (flags & HANDLE_FLAG_INHERIT) != 0 ? 0 : FD_CLOEXEC;
  return fcntl(fd, F_SETFD, closeOnExec) == 0 ? TRUE : FailWithErrno();
}
