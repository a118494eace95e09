// The table of open files, and share modes inside the process.
//
// Not emulated: a descriptor closed behind the layer's back (by `close` itself)
// keeps its share mode in the table until its number is opened again.

#include "platform/posix/state/posix_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/posix/state/posix_lock.h"
#include "platform/posix/state/posix_share.h"

namespace posix {
namespace {

// How often an open that other processes refuse looks again: two opens at the same
// moment can refuse each other, and must not both fail.
constexpr int kTries = 5;

// More than the system ever numbers a descriptor.
constexpr int kHandleOfZero = 0x40000000;

std::mutex mutex;

// Never destroyed: files are closed by the destructors of others at the end.
std::vector<OpenFile>& Table() {
  static std::vector<OpenFile>& table = *new std::vector<OpenFile>;
  return table;
}

// What the table knows of a descriptor, or null. REQUIRES: `mutex` is held.
OpenFile* Known(int fd) {
  const auto index = static_cast<size_t>(fd);
  return fd >= 0 && index < Table().size() ? &Table()[index] : nullptr;
}

// The same; an unknown one gets a place. REQUIRES: `mutex` is held; fd >= 0.
OpenFile& Entry(int fd) {
  const auto index = static_cast<size_t>(fd);
  if (Table().size() <= index) Table().resize(index + 1);
  return Table()[index];
}

// REQUIRES: `mutex` is held.
bool AgreesInProcess(const OpenFile& file) {
  for (const OpenFile& other : Table()) {
    if (!other.open || other.access == 0 || other.inode != file.inode ||
        other.device != file.device) {
      continue;
    }
    if ((file.access & ~other.share) != 0 || (other.access & ~file.share) != 0) {
      return false;
    }
  }
  return true;
}

// A pause of up to a millisecond, another one each time.
void PauseBeforeTry(int fd, int tries) {
  const auto number = static_cast<unsigned>(getpid()) * 7919;
  const long spread = (number + static_cast<unsigned>(fd) * 104729) & 0xF;
  timespec pause = {0, 20000 * (spread + 1) * tries};
  nanosleep(&pause, nullptr);
}

// Removes the file if its name still means this file.
void RemoveAtEnd(const OpenFile& file) {
  struct stat status;
  if (!file.removeAtEnd.empty() && stat(file.removeAtEnd.c_str(), &status) == 0 &&
      status.st_dev == file.device && status.st_ino == file.inode) {
    unlink(file.removeAtEnd.c_str());
  }
}

}  // namespace

HANDLE HandleOf(int fd) {
  return reinterpret_cast<HANDLE>(LONG_PTR{fd == 0 ? kHandleOfZero : fd});
}

int DescriptorOf(HANDLE handle) {
  const auto value = reinterpret_cast<LONG_PTR>(handle);
  if (value == kHandleOfZero) return 0;
  return value > 0 && value <= INT_MAX ? static_cast<int>(value) : -1;
}

bool IsOpen(int fd) {
  return fd >= 0 && fcntl(fd, F_GETFD) >= 0;
}

bool AccessOf(int fd, unsigned& access) {
  if (fd < 0) return false;
  {
    const std::lock_guard guard(mutex);
    if (const OpenFile* file = Known(fd); file != nullptr && file->open) {
      access = file->access;
      return true;
    }
  }
  const int flags = fcntl(fd, F_GETFL);
  if (flags < 0) return false;
  const int kind = flags & O_ACCMODE;
  access = kind == O_RDWR ? kRead | kWrite : kind == O_WRONLY ? kWrite : kRead;
  return true;
}

bool IsProcess(int fd) {
  const std::lock_guard guard(mutex);
  const OpenFile* file = Known(fd);
  return file != nullptr && file->open && file->isProcess;
}

bool EnterFile(int fd, const OpenFile& file) {
  for (int tries = 1;; ++tries) {
    {
      const std::lock_guard guard(mutex);
      OpenFile& entry = Entry(fd);
      entry.open = false;  // whatever was closed behind the table's back
      ForgetLocks(fd);
      const bool shared = file.access == 0 || !file.isRegular;
      if (!shared && !AgreesInProcess(file)) return false;
      if (shared || TellShares(fd, file.access, file.share)) {
        entry = file;
        entry.open = true;
        return true;
      }
    }
    if (tries == kTries) return false;
    PauseBeforeTry(fd, tries);
  }
}

bool DeletionIsDenied(int fd, dev_t device, ino_t inode) {
  OpenFile deletion;
  deletion.access = kDelete;
  deletion.device = device;
  deletion.inode = inode;
  const std::lock_guard guard(mutex);
  return !AgreesInProcess(deletion) || (fd >= 0 && IsDeniedElsewhere(fd, kDelete));
}

int CloseFile(int fd) noexcept {
  // Held over the close, so that nobody is given the number before the table has
  // forgotten it. The call is never repeated: interrupted, it has closed.
  const std::lock_guard guard(mutex);
  if (!IsOpen(fd)) return EBADF;
  if (OpenFile* file = Known(fd)) {
    if (file->open) RemoveAtEnd(*file);
    *file = OpenFile();
  }
  ForgetLocks(fd);
  return close(fd) == 0 || errno == EINTR ? 0 : errno;
}

int ExchangeTextMode(int fd, int mode) {
  if (!IsOpen(fd)) return -1;
  const std::lock_guard guard(mutex);
  return std::exchange(Entry(fd).textMode, mode);
}

}  // namespace posix
