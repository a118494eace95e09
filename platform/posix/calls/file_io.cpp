// Reading, writing, positions and sizes of open files. Calls wait even where a descriptor
// does not block.
//
// Not emulated: overlapped operation (the argument is ignored), the end of a pipe
// as an error (it reads as 0 bytes), the refusal to move the position of a pipe (code 25
// for all). A process whose file size is limited (ulimit -f) is stopped by SIGXFSZ unless
// it ignores the signal, and one that writes to a closed pipe by SIGPIPE. Where the file
// system cannot take blocks beforehand, a file that grows gets none.

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"

namespace posix {
namespace {

// The system takes at most 2 GiB less a page at once.
constexpr size_t kLargestPiece = 0x40000000;

// The descriptor of a handle, or -1 after setting the last error: the code is 5 when the
// file was not opened for each of `rights`. Whether the descriptor is open at all is left
// to the call that follows (FailOf), so that a value is read or written by one call of
// the system.
int Usable(HANDLE handle, unsigned rights) {
  const int fd = DescriptorOf(handle);
  if (fd >= 0 && MayHave(fd, rights)) {
    return fd;
  }
  Fail(fd >= 0 ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE);
  return -1;
}

// The same, for callers that do not go on to call the system.
int UsableForSure(HANDLE handle, unsigned rights) {
  const int fd = DescriptorOf(handle);
  unsigned access = 0;
  if (!AccessOf(fd, access)) {
    Fail(ERROR_INVALID_HANDLE);
    return -1;
  }
  if ((access & rights) != rights) {
    Fail(ERROR_ACCESS_DENIED);
    return -1;
  }
  return fd;
}

// Sets the last error for a call of the system that has failed with errno.
BOOL FailOf(int fd) {
  const int number = errno;
  // It is also the number for a descriptor that was not opened for reading or writing.
  if (number == EBADF) {
    return Fail(IsOpen(fd) ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE);
  }
  return Fail(CodeFromErrno(number));
}

// Waits until a call on a descriptor that does not block can be tried again. False when
// the call has failed for another reason.
bool AwaitReadiness(int fd, short event) {
  if (errno != EAGAIN || (fcntl(fd, F_GETFL) & O_NONBLOCK) == 0) {
    return false;
  }
  pollfd waiting = {fd, event, 0};
  return Retried([&] { return poll(&waiting, 1, -1); }) > 0;
}

// Moves `count` bytes by `move(done, piece)`, a read or write that waits for `event`. If
// some were moved before a failure, the failure is ignored: the next call will meet it.
// When fewer were moved, `stopsShort()` tells whether that is all for now.
template <typename Move, typename StopsShort>
bool MoveAll(int fd, short event, DWORD count, DWORD& done, Move move,
             StopsShort stopsShort) {
  done = 0;
  do {
    const size_t piece = std::min<size_t>(count - done, kLargestPiece);
    ssize_t moved;
    do {
      moved = Retried([&] { return move(done, piece); });
    } while (moved < 0 && AwaitReadiness(fd, event));
    if (moved < 0) {
      return done > 0;
    }
    done += static_cast<DWORD>(moved);
    if (moved == 0 || (done < count && stopsShort())) {
      return true;
    }
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
  if (fstat(fd, &status) != 0) {
    return false;
  }
  size = S_ISDIR(status.st_mode) ? 0 : status.st_size;
  return true;
}

off_t Joined(LONG low, const LONG* high) {
  if (high == nullptr) {
    return low;
  }
  return static_cast<off_t>(static_cast<ULONGLONG>(static_cast<DWORD>(*high)) << 32 |
                            static_cast<DWORD>(low));
}

// The position at a distance, or a negative number with the last error set. A negative
// distance from the beginning is refused before the handle is looked at.
off_t Target(int fd, off_t distance, DWORD method) {
  off_t base = 0;
  if (method == FILE_CURRENT) {
    base = lseek(fd, 0, SEEK_CUR);
  }
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

// Allocates blocks past the end of the file, which grows with them: the errno value, 0 on
// success. After a failure the file may have grown by a part.
int TakeBlocks(int fd, off_t from, off_t to) {
  off_t piece = to - from;
  while (from < to) {
    piece = std::min(piece, to - from);
    if (fallocate(fd, 0, from, piece) == 0) {
      from += piece;
    } else if (errno != EINTR) {
      return errno;
    } else if (piece > 1) {
      // An interrupted call may release what it had allocated: with smaller pieces it
      // gets on.
      piece /= 2;
    }
  }
  return 0;
}

// Sets the size of a file. Blocks are allocated for what is added, so that a full disk
// shows here and leaves the file as it is.
bool SetSize(int fd, off_t from, off_t to) {
  const auto truncate = [fd](off_t size) {
    return Retried([&] { return ftruncate(fd, size); }) == 0;
  };
  const int number = TakeBlocks(fd, from, to);
  // The file system cannot allocate blocks, or none are needed.
  if (number == EOPNOTSUPP || number == ENOSYS || to <= from) {
    return truncate(to);
  }
  if (number != 0) {
    truncate(from);
    errno = number;
  }
  return number == 0;
}

// A last error of 0 distinguishes a low half that looks like the failure mark from it.
DWORD LowHalf(off_t value) {
  const auto low = static_cast<DWORD>(value);
  if (low == INVALID_FILE_SIZE) {
    SetLastError(NO_ERROR);
  }
  return low;
}

}  // namespace
}  // namespace posix

using namespace posix;

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD count, LPDWORD read, OVERLAPPED*) {
  DWORD unwanted = 0;
  DWORD& done = read != nullptr ? *read : unwanted;
  done = 0;
  const bool isPlain = count > 0 && buffer != nullptr;
  const int fd = isPlain ? Usable(handle, kRead) : UsableForSure(handle, kRead);
  if (fd < 0) {
    return FALSE;
  }
  if (buffer == nullptr && count > 0) {
    return Fail(ERROR_NOACCESS);
  }
  const auto move = [fd, buffer](DWORD from, size_t piece) {
    return ::read(fd, static_cast<char*>(buffer) + from, piece);
  };
  // A pipe or a terminal gives what is there; a file everything up to its end.
  if (MoveAll(fd, POLLIN, count, done, move, [fd] { return !IsRegular(fd); })) {
    return TRUE;
  }
  return errno == EISDIR ? Fail(ERROR_INVALID_FUNCTION) : FailOf(fd);
}

BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD count, LPDWORD written, OVERLAPPED*) {
  DWORD unwanted = 0;
  DWORD& done = written != nullptr ? *written : unwanted;
  done = 0;
  const int fd = count > 0 ? Usable(handle, kWrite) : UsableForSure(handle, kWrite);
  if (fd < 0) {
    return FALSE;
  }
  if (count == 0) {
    return TRUE;
  }
  const auto move = [fd, buffer](DWORD from, size_t piece) {
    return ::write(fd, static_cast<const char*>(buffer) + from, piece);
  };
  if (MoveAll(fd, POLLOUT, count, done, move, [] { return false; })) {
    return TRUE;
  }
  return errno == EFAULT ? Fail(ERROR_INVALID_USER_BUFFER) : FailOf(fd);
}

DWORD SetFilePointer(HANDLE handle, LONG distance, PLONG distanceHigh, DWORD method) {
  if (method > FILE_END) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_SET_FILE_POINTER;
  }
  const int fd = DescriptorOf(handle);
  const off_t target = Target(fd, Joined(distance, distanceHigh), method);
  if (target < 0) {
    return INVALID_SET_FILE_POINTER;
  }
  if (lseek(fd, target, SEEK_SET) < 0) {
    FailWithErrno();
    return INVALID_SET_FILE_POINTER;
  }
  if (distanceHigh != nullptr) {
    *distanceHigh = static_cast<LONG>(target >> 32);
  }
  return LowHalf(target);
}

BOOL SetEndOfFile(HANDLE handle) {
  unsigned access = 0;
  struct stat status;
  const int fd = DescriptorOf(handle);
  if (!AccessOf(fd, access)) {
    return Fail(ERROR_INVALID_HANDLE);
  }
  const off_t position = lseek(fd, 0, SEEK_CUR);
  if (position < 0 || fstat(fd, &status) != 0) {
    return FailWithErrno();
  }
  if ((access & kWrite) == 0) {
    const bool shrinks = !S_ISREG(status.st_mode) || position < status.st_size;
    return Fail(shrinks ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE);
  }
  return SetSize(fd, status.st_size, position) ? TRUE : FailWithErrno();
}

DWORD GetFileSize(HANDLE handle, LPDWORD sizeHigh) {
  off_t size = 0;
  if (!SizeOf(DescriptorOf(handle), size)) {
    FailWithErrno();
    return INVALID_FILE_SIZE;
  }
  if (sizeHigh != nullptr) {
    *sizeHigh = static_cast<DWORD>(size >> 32);
  }
  return LowHalf(size);
}

BOOL FlushFileBuffers(HANDLE handle) {
  const int fd = UsableForSure(handle, kWrite);
  if (fd < 0) {
    return FALSE;
  }
  const int result = Retried([&] { return fsync(fd); });
  // Devices that have nothing to flush answer EINVAL.
  return result == 0 || errno == EINVAL ? TRUE : FailWithErrno();
}

BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags) {
  // -1 stands for this process, which cannot be changed.
  if (handle == GetCurrentProcess()) {
    return Fail(ERROR_ACCESS_DENIED);
  }
  const int fd = DescriptorOf(handle);
  if (!IsOpen(fd)) {
    return Fail(ERROR_INVALID_HANDLE);
  }
  if ((mask & HANDLE_FLAG_INHERIT) == 0) {
    return TRUE;
  }
  const int closeOnExec = (flags & HANDLE_FLAG_INHERIT) != 0 ? 0 : FD_CLOEXEC;
  return fcntl(fd, F_SETFD, closeOnExec) == 0 ? TRUE : FailWithErrno();
}
