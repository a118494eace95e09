// The table of open files, and share modes inside the process.
//
// An entry is stored under the number that the file was opened with or first seen under.
// It is valid as long as that number is the open file's, which the system is asked about
// before anything is done or refused because of the entry.
//
// Not emulated: a file that is closed by the system's own `close` is not removed by
// DELETE_ON_CLOSE. Of several descriptors of one open file, those that `dup` has made and
// those that child processes have inherited, closing the first one gives back share modes
// and locks: the system does not tell whether a child is about to run another program,
// which must hold nothing, or will use the file.

#include "platform/posix/state/posix_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <mutex>
#include <utility>
#include <vector>

#include <io.h>
#include "platform/posix/state/posix_share.h"

namespace posix {
namespace {

// How often an open that other processes refuse is tried again: two opens at the same
// moment can refuse each other, and must not both fail.
constexpr int kTries = 5;

// Above any number of a descriptor.
constexpr int kHandleOfZero = 0x40000000;

struct Entry {
  bool used = false;
  OpenFile file;
  bool tells = false;  // publishes its share modes, in this process and to others
  int textMode = _O_TEXT;
  std::shared_ptr<LockNotes> locks;
};

std::mutex mutex;

// Never destroyed: files are closed by the destructors of others at the end.
std::vector<Entry>& Table() {
  static std::vector<Entry>& table = *new std::vector<Entry>;
  return table;
}

void Forget(Entry& entry) noexcept {
  if (entry.locks) {
    ForgetLocks(*entry.locks);
  }
  entry = Entry();
}

// Whether the entry of a number is valid; an invalid one is forgotten.
bool Counts(int fd, Entry& entry) noexcept {
  if (entry.used && !IsOf(fd, entry.file.identity)) {
    Forget(entry);
  }
  return entry.used;
}

// The place of a number, if there is one. Its entry may be invalid. REQUIRES: `mutex` is
// held, here and in all that follows.
Entry* PlaceOf(int fd) noexcept {
  const auto index = static_cast<size_t>(fd);
  return fd >= 0 && index < Table().size() ? &Table()[index] : nullptr;
}

// The same; a missing place is made. REQUIRES: fd >= 0.
Entry& MadePlaceOf(int fd) {
  const auto index = static_cast<size_t>(fd);
  if (Table().size() <= index) {
    Table().resize(index + 1);
  }
  return Table()[index];
}

unsigned AccessIn(int flags) {
  const int kind = flags & O_ACCMODE;
  return kind == O_RDWR ? kRead | kWrite : kind == O_WRONLY ? kWrite : kRead;
}

// The entry under another number of the same open file, or null.
Entry* FindUnderOtherNumber(int fd, const Identity& identity) {
  for (Entry& entry : Table()) {
    const Identity& other = entry.file.identity;
    if (entry.used && other.mark != 0 && other.IsOfSameFile(identity) &&
        IsOf(fd, other)) {
      return &entry;
    }
  }
  return nullptr;
}

// What is remembered of the open file behind a descriptor, or null.
Entry* Find(int fd) {
  Entry* const entry = PlaceOf(fd);
  if (entry != nullptr && Counts(fd, *entry)) {
    return entry;
  }
  struct stat status;
  if (fd < 0 || fstat(fd, &status) != 0) {
    return nullptr;
  }
  return FindUnderOtherNumber(fd, {status.st_dev, status.st_ino, 0});
}

// The same; an open file that is unknown is entered. Null for what is not open.
Entry* FindOrEnter(int fd) {
  Entry* const found = Find(fd);
  struct stat status;
  const int flags = found != nullptr ? -1 : fcntl(fd, F_GETFL);
  if (flags < 0 || fstat(fd, &status) != 0) {
    return found;
  }
  Entry& entry = MadePlaceOf(fd);
  entry.file.access = AccessIn(flags);
  entry.file.identity = {status.st_dev, status.st_ino, PutMark(fd)};
  entry.used = true;
  return &entry;
}

bool AgreesInProcess(const OpenFile& file) {
  for (size_t fd = 0; fd < Table().size(); ++fd) {
    Entry& entry = Table()[fd];
    const OpenFile& other = entry.file;
    const bool agrees =
        (file.access & ~other.share) == 0 && (other.access & ~file.share) == 0;
    if (entry.tells && !agrees && other.identity.IsOfSameFile(file.identity) &&
        Counts(static_cast<int>(fd), entry)) {
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
      file.identity.IsOfSameFile({status.st_dev, status.st_ino, 0})) {
    unlink(file.removeAtEnd.c_str());
  }
}

// Releases what other processes' descriptors would otherwise keep.
void GiveBack(int fd, const Entry& entry) noexcept {
  RemoveAtEnd(entry.file);
  if (entry.locks) {
    GiveLocksBack(fd, *entry.locks);
  }
  if (entry.tells) {
    TakeSharesBack(fd);
  }
}

// A process that fork has made has the parent's files open, but only the parent releases
// and removes them.
void LeaveToParent(Entry& entry) noexcept {
  entry.file.removeAtEnd.clear();
  entry.tells = false;
  entry.locks.reset();
}

void HoldTables() {
  mutex.lock();
  HoldLocks();
}

void LetTablesGo() {
  LetLocksGo();
  mutex.unlock();
}

void LetTablesGoInChild() {
  LetLocksGoInChild();
  for (Entry& entry : Table()) {
    LeaveToParent(entry);
  }
  mutex.unlock();
}

// Registered first, so that this mutex is taken last: others that hold a mutex of their
// own over fork may open and close files under it.
[[maybe_unused]] const int registered =
    pthread_atfork(HoldTables, LetTablesGo, LetTablesGoInChild);

}  // namespace

HANDLE HandleOf(int fd) {
  if (fd < 0 || fd >= kHandleOfZero) {
    return INVALID_HANDLE_VALUE;
  }
  return reinterpret_cast<HANDLE>(LONG_PTR{fd == 0 ? kHandleOfZero : fd});
}

int DescriptorOf(HANDLE handle) {
  const auto value = reinterpret_cast<LONG_PTR>(handle);
  if (value == kHandleOfZero) {
    return 0;
  }
  return value > 0 && value <= INT_MAX ? static_cast<int>(value) : -1;
}

bool IsOpen(int fd) {
  return fd >= 0 && fcntl(fd, F_GETFD) >= 0;
}

bool AccessOf(int fd, unsigned& access) {
  const std::lock_guard guard(mutex);
  const Entry* const entry = Find(fd);
  const int flags = entry != nullptr || fd < 0 ? -1 : fcntl(fd, F_GETFL);
  if (entry == nullptr && flags < 0) {
    return false;
  }
  access = entry != nullptr ? entry->file.access : AccessIn(flags);
  return true;
}

bool MayHave(int fd, unsigned rights) {
  const std::lock_guard guard(mutex);
  const auto refuses = [rights](const Entry* entry) {
    return entry != nullptr && entry->used && (entry->file.access & rights) != rights;
  };
  // Only a refusal has to be about the right file: the system refuses the rest.
  return !refuses(PlaceOf(fd)) || !refuses(Find(fd));
}

bool IsProcess(int fd) {
  const std::lock_guard guard(mutex);
  const Entry* const entry = Find(fd);
  return entry != nullptr && entry->file.isProcess;
}

bool EnterFile(int fd, const OpenFile& file) {
  Entry entered;
  entered.used = true;
  entered.file = file;
  entered.tells = file.access != 0 && file.isRegular;
  for (int tries = 1;; ++tries) {
    {
      const std::lock_guard guard(mutex);
      Entry& entry = MadePlaceOf(fd);
      Forget(entry);  // the file that had the number, closed by other means
      if (entered.tells && !AgreesInProcess(file)) {
        return false;
      }
      if (!entered.tells || TellShares(fd, file.access, file.share)) {
        entered.file.identity.mark = PutMark(fd);
        entry = std::move(entered);
        return true;
      }
    }
    if (tries == kTries) {
      return false;
    }
    PauseBeforeTry(fd, tries);
  }
}

bool DeletionIsDenied(int fd, dev_t device, ino_t inode) {
  OpenFile deletion;
  deletion.access = kDelete;
  deletion.identity = {device, inode, 0};
  const std::lock_guard guard(mutex);
  return !AgreesInProcess(deletion) || (fd >= 0 && IsDeniedElsewhere(fd, kDelete));
}

int CloseFile(int fd) noexcept {
  // Held over the close, so that nobody is given the number before the table has
  // forgotten it. The call is never repeated: an interrupted one has closed.
  const std::lock_guard guard(mutex);
  Entry* const entry = PlaceOf(fd);
  if (entry != nullptr && Counts(fd, *entry)) {
    GiveBack(fd, *entry);
    Forget(*entry);
  }
  return close(fd) == 0 || errno == EINTR ? 0 : errno;
}

int ExchangeTextMode(int fd, int mode) {
  const std::lock_guard guard(mutex);
  Entry* const entry = FindOrEnter(fd);
  return entry == nullptr ? -1 : std::exchange(entry->textMode, mode);
}

std::shared_ptr<LockNotes> LocksOf(int fd) {
  const std::lock_guard guard(mutex);
  Entry* const entry = FindOrEnter(fd);
  if (entry == nullptr) {
    return nullptr;
  }
  if (!entry->locks) {
    entry->locks = std::make_shared<LockNotes>(fd, entry->file.identity);
  }
  return entry->locks;
}

}  // namespace posix
