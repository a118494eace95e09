// Byte-range locks, which belong to the open file and end with it. The system knows what
// an open file holds, but not how often and in which order; that is noted here. Between
// open files, of one process or two, the system decides; conflicts between one open
// file's own locks are decided here, since for the system a new lock of the same open
// file replaces the older one. The system takes precedence over a note: another process
// that has inherited the descriptor may have locked or unlocked.
//
// The system gives exclusive locks only to descriptors that may write. One that may not
// takes a shared lock on the range, which keeps out those that may write, and then locks
// the same range a second time, far beyond the file (kFirstReaderByte), where every
// holder of a shared lock looks once it has it. Both first lock and then look: of two at
// once at least one sees the other, and may have to look again.
//
// The system gives shared locks only to descriptors that may read. One that may not locks
// a byte of its own, also far beyond the file, where every holder of an exclusive lock
// looks once it has it.
//
// The system's locks of an open file are changed without waiting and under the mutex,
// with one exception: one thread for each open file may wait in the system. When it
// returns, the lock that it has is treated like any other request, or released.
//
// Not emulated: ranges of one handle that overlap without being equal stay locked until
// the last of them is unlocked. Processes that share an open file do not count each
// other's locks. A shared lock of a descriptor that may not read applies to the whole
// file, and not to another process that has the same open file. It does not keep out
// programs that lock in other ways; nor, if they only share, does an exclusive lock of a
// descriptor that may not write.

#include "platform/posix/state/posix_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <new>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"

namespace posix {
namespace {

// How long a thread sleeps while it waits for a change that the system does not report.
constexpr std::chrono::milliseconds kPause(5);

// How often a request that does not wait is tried again: another one's attempt looks like
// a lock for some microseconds.
constexpr int kTries = 5;
constexpr std::chrono::microseconds kShortPause(50);

enum class Outcome {
  kLocked,
  kRefusedHere,   // by the open file's own locks, or by its waiting thread
  kRefusedThere,  // by another open file's locks; the system can wait for these
  kUndecided,     // by what another open file has locked, or is just about to lock
  kFailed,        // with errno
};

bool IsRefused(Outcome outcome) {
  return outcome != Outcome::kLocked && outcome != Outcome::kFailed;
}

// Never destroyed, as files are closed by the destructors of others at the end.
struct Common {
  std::mutex mutex;
  std::condition_variable changed;
};

Common& All() {
  static Common& all = *new Common;
  return all;
}

using Guard = std::unique_lock<std::mutex>;

// A second descriptor of an open file, which nobody else closes.
class OwnDescriptor {
 public:
  explicit OwnDescriptor(int of) : fd_(fcntl(of, F_DUPFD_CLOEXEC, 0)) {}
  OwnDescriptor(const OwnDescriptor&) = delete;
  OwnDescriptor& operator=(const OwnDescriptor&) = delete;
  ~OwnDescriptor() {
    if (fd_ >= 0) {
      close(fd_);
    }
  }

  int Get() const { return fd_; }

 private:
  int fd_;
};

bool Meet(const Range& one, const Range& other) {
  return one.start < other.start + other.length && other.start < one.start + one.length;
}

// The second lock of a descriptor that may not write.
Range ReaderRange(const Range& range) {
  return {kFirstReaderByte + range.start, range.length};
}

bool IsReaders(const LockNotes& notes, const LockedRange& lock) {
  return lock.exclusive && !notes.mayWrite;
}

constexpr Range kSharersBytes = {kFirstSharersByte, kFirstShareByte - kFirstSharersByte};

// What a descriptor that may not read locks instead of a shared range.
Range SharersByte(const LockNotes& notes) {
  return {kFirstSharersByte + (notes.identity.mark - kFirstMark), 1};
}

bool IsSharers(const LockNotes& notes, const LockedRange& lock) {
  return !lock.exclusive && !notes.mayRead && notes.identity.mark != 0;
}

// The type of lock that the system accepts from this descriptor.
short TypeOf(const LockNotes& notes, const LockedRange& lock) {
  const bool asExclusive = lock.exclusive ? notes.mayWrite : !notes.mayRead;
  return asExclusive ? F_WRLCK : F_RDLCK;
}

// Whether a lock conflicts with the open file's own locks, or with one that a thread is
// about to get.
bool OwnRefuse(const LockNotes& notes, const LockedRange& lock) {
  if (!lock.exclusive) {
    return false;
  }
  // That thread's shared lock, granted later, would weaken the exclusive one.
  if (notes.asking == LockNotes::Asking::kForShared) {
    return true;
  }
  return std::any_of(notes.locks.begin(), notes.locks.end(),
                     [&lock](const LockNotes::Noted& held) {
                       return Meet(held.lock.range, lock.range);
                     });
}

// Whether an exclusive lock of the open file covers a range.
bool OwnCover(const LockNotes& notes, const Range& range) {
  return std::any_of(notes.locks.begin(), notes.locks.end(),
                     [&range](const LockNotes::Noted& held) {
                       return held.lock.exclusive && Meet(held.lock.range, range);
                     });
}

bool SystemKnows(int fd, const LockNotes& notes, const LockedRange& lock) {
  return FirstLock(fd, F_WRLCK, lock.range) ||
         (IsSharers(notes, lock) && FirstLock(fd, F_WRLCK, SharersByte(notes)));
}

// Forgets locks that the system no longer has: another process has unlocked them.
void DropUnlocked(int fd, LockNotes& notes, const Range& range) {
  std::erase_if(notes.locks, [&](const LockNotes::Noted& held) {
    return Meet(held.lock.range, range) && !SystemKnows(fd, notes, held.lock);
  });
}

// Locks or unlocks the byte of a descriptor that may not read, as the notes say.
void SettleSharersByte(int fd, const LockNotes& notes) {
  const bool shares = std::any_of(
      notes.locks.begin(), notes.locks.end(), [&notes](const LockNotes::Noted& held) {
        return IsSharers(notes, held.lock) && !held.isBorrowed;
      });
  SetLock(fd, shares ? F_WRLCK : F_UNLCK, SharersByte(notes));
}

// Brings the system's locks on a range, of which there may be more, into line with the
// notes.
void Settle(int fd, const LockNotes& notes, const Range& range) {
  bool isShared = false;
  for (const LockNotes::Noted& held : notes.locks) {
    if (held.isBorrowed || !Meet(held.lock.range, range)) {
      continue;
    }
    if (held.lock.exclusive || held.lock.range != range) {
      return;
    }
    isShared = true;
  }
  if (IsSharers(notes, {range, false})) {
    SettleSharersByte(fd, notes);
    isShared = false;
  }
  SetLock(fd, F_UNLCK, ReaderRange(range));
  SetLock(fd, isShared ? TypeOf(notes, {range, false}) : short{F_UNLCK}, range);
}

// Whether only the open file's own locks, set by another process, conflict with a lock.
// Another one's lock that comes and goes between the two queries can look so: they are
// repeated until that cannot be chance.
bool IsItsOwn(int fd, short type, const Range& range) {
  constexpr int kQuestions = 4;
  for (int i = 0; i < kQuestions; ++i) {
    if (!ItselfForbids(fd, type, range)) {
      return false;
    }
  }
  return true;
}

// What conflicts with a lock before the system is asked for it. `isBorrowed` when it need
// not be asked, since another process has a stronger lock by the same open file.
Outcome Look(int fd, const LockNotes& notes, const LockedRange& lock, bool& isBorrowed) {
  const short type = lock.exclusive ? F_WRLCK : F_RDLCK;
  if (!FirstLock(fd, type, lock.range)) {
    return Outcome::kLocked;
  }
  if (!IsItsOwn(fd, type, lock.range)) {
    // The system can only wait for what it refuses itself.
    return type == TypeOf(notes, lock) ? Outcome::kRefusedThere : Outcome::kUndecided;
  }
  isBorrowed = !lock.exclusive;
  return isBorrowed ? Outcome::kLocked : Outcome::kUndecided;
}

// Asks the system for a lock, and returns its answer.
Outcome Tell(int fd, const LockNotes& notes, const LockedRange& lock) {
  bool had = IsSharers(notes, lock) ? SetLock(fd, F_WRLCK, SharersByte(notes))
                                    : SetLock(fd, TypeOf(notes, lock), lock.range);
  if (had && IsReaders(notes, lock)) {
    had = SetLock(fd, F_RDLCK, ReaderRange(lock.range));
    if (!had) {
      const int number = errno;
      Settle(fd, notes, lock.range);
      errno = number;
    }
  }
  if (had) {
    return Outcome::kLocked;
  }
  return errno == EAGAIN || errno == EACCES ? Outcome::kRefusedThere : Outcome::kFailed;
}

// Whether there is a conflict with a lock that the system does not see. `isBorrowed` as
// above.
bool StandsAgainst(int fd, const LockNotes& notes, const LockedRange& lock,
                   bool& isBorrowed) {
  if (lock.exclusive) {
    return (IsReaders(notes, lock) && OthersForbid(fd, F_WRLCK, lock.range)) ||
           OthersForbid(fd, F_WRLCK, kSharersBytes);
  }
  if (IsSharers(notes, lock) && OthersForbid(fd, F_RDLCK, lock.range)) {
    return true;
  }
  const Range readers = ReaderRange(lock.range);
  if (!FirstLock(fd, F_WRLCK, readers)) {
    return false;
  }
  isBorrowed = IsItsOwn(fd, F_WRLCK, readers);
  return !isBorrowed;
}

// Asks the system for a lock, and looks for conflicts that the system does not see.
Outcome TellAndLook(int fd, const LockNotes& notes, const LockedRange& lock,
                    bool& isBorrowed) {
  const Outcome outcome = Tell(fd, notes, lock);
  if (outcome != Outcome::kLocked || !StandsAgainst(fd, notes, lock, isBorrowed)) {
    return outcome;
  }
  Settle(fd, notes, lock.range);
  return Outcome::kUndecided;
}

// A note that is not in the list yet, made beforehand since what is locked must be noted.
using OneNote = std::list<LockNotes::Noted>;

// Tries to lock without waiting. On success the note moves to the list.
Outcome Try(int fd, LockNotes& notes, OneNote& note) {
  const LockedRange& lock = note.front().lock;
  DropUnlocked(fd, notes, lock.range);
  if (OwnRefuse(notes, lock)) {
    return Outcome::kRefusedHere;
  }
  bool& isBorrowed = note.front().isBorrowed;
  isBorrowed = false;
  if (!OwnCover(notes, lock.range)) {
    Outcome outcome = Look(fd, notes, lock, isBorrowed);
    if (outcome == Outcome::kLocked && !isBorrowed) {
      outcome = TellAndLook(fd, notes, lock, isBorrowed);
    }
    if (outcome != Outcome::kLocked) {
      return outcome;
    }
  }
  notes.locks.splice(notes.locks.end(), note);
  return Outcome::kLocked;
}

// Waits in the system until others unlock; false with errno.
bool AskAndWait(Guard& guard, int fd, LockNotes& notes, const LockedRange& lock) {
  const short type = TypeOf(notes, lock);
  notes.asking =
      type == F_WRLCK ? LockNotes::Asking::kForExclusive : LockNotes::Asking::kForShared;
  guard.unlock();
  const bool had = SetLockWaiting(fd, type, lock.range);
  const int number = errno;
  guard.lock();
  notes.asking = LockNotes::Asking::kNobody;
  All().changed.notify_all();
  errno = number;
  return had;
}

// Whether a refusal is worth another attempt even for a request that does not wait.
bool MayBeAnAttempt(int fd, const LockedRange& lock, Outcome outcome) {
  return outcome == Outcome::kUndecided ||
         (outcome == Outcome::kRefusedThere &&
          OthersForbid(fd, F_WRLCK, ReaderRange(lock.range)));
}

// Continues after a first refusal, with a descriptor of its own: the caller's may be
// closed meanwhile, and its number may become another file's.
DWORD TryOn(Guard& guard, int fd, LockNotes& notes, OneNote& note, bool wait,
            Outcome outcome) {
  const LockedRange lock = note.front().lock;
  const OwnDescriptor own(fd);
  if (own.Get() < 0) {
    return CodeFromErrno(errno);
  }
  for (int tries = 1; IsRefused(outcome); ++tries) {
    const bool asks = wait && outcome == Outcome::kRefusedThere &&
                      notes.asking == LockNotes::Asking::kNobody;
    if (asks && !AskAndWait(guard, own.Get(), notes, lock)) {
      return CodeFromErrno(errno);
    }
    if (!wait && (tries == kTries || !MayBeAnAttempt(own.Get(), lock, outcome))) {
      return ERROR_LOCK_VIOLATION;
    }
    if (!asks) {
      All().changed.wait_for(guard, wait ? kPause : kShortPause * tries);
    }
    if (asks && lock.exclusive) {
      // It would look like another process's by the same open file. Whoever else waits is
      // slower than the try that follows.
      Settle(own.Get(), notes, lock.range);
    }
    const bool isOpen = !notes.isClosed && IsOf(fd, notes.identity);
    outcome = isOpen ? Try(own.Get(), notes, note) : Outcome::kFailed;
    const int number = errno;
    if (asks && outcome != Outcome::kLocked) {
      Settle(own.Get(), notes, lock.range);  // the lock that the wait has got
    }
    if (!isOpen) {
      return ERROR_INVALID_HANDLE;
    }
    errno = number;
  }
  return outcome == Outcome::kLocked ? ERROR_SUCCESS : CodeFromErrno(errno);
}

}  // namespace

LockNotes::LockNotes(int fd, const Identity& openFile)
    : identity(openFile),
      mayRead((fcntl(fd, F_GETFL) & O_ACCMODE) != O_WRONLY),
      mayWrite((fcntl(fd, F_GETFL) & O_ACCMODE) != O_RDONLY) {}

DWORD LockRange(int fd, const LockedRange& lock, bool wait) {
  const std::shared_ptr<LockNotes> notes = LocksOf(fd);
  OneNote note = {{lock, false}};
  Guard guard(All().mutex);
  if (!notes || notes->isClosed) {
    return ERROR_INVALID_HANDLE;
  }
  const Outcome outcome = Try(fd, *notes, note);
  if (IsRefused(outcome)) {
    return TryOn(guard, fd, *notes, note, wait, outcome);
  }
  return outcome == Outcome::kLocked ? ERROR_SUCCESS : CodeFromErrno(errno);
}

DWORD UnlockRange(int fd, const Range& range) {
  const std::shared_ptr<LockNotes> notes = LocksOf(fd);
  const Guard guard(All().mutex);
  if (!notes || notes->isClosed) {
    return ERROR_INVALID_HANDLE;
  }
  DropUnlocked(fd, *notes, range);
  auto& locks = notes->locks;
  const auto found = std::find_if(
      locks.begin(), locks.end(),
      [&range](const LockNotes::Noted& held) { return held.lock.range == range; });
  // A lock that is not noted may be another process's, by the same open file.
  if (found == locks.end() &&
      (FirstLock(fd, F_WRLCK, range) != range || !IsItsOwn(fd, F_WRLCK, range))) {
    return ERROR_LOCK_VIOLATION;
  }
  const bool isToldToTheSystem = found == locks.end() || !found->isBorrowed;
  if (found != locks.end()) {
    locks.erase(found);
  }
  if (isToldToTheSystem) {
    Settle(fd, *notes, range);
  }
  All().changed.notify_all();
  return ERROR_SUCCESS;
}

void ForgetLocks(LockNotes& notes) noexcept {
  const Guard guard(All().mutex);
  notes.isClosed = true;
  notes.locks.clear();
  All().changed.notify_all();
}

void GiveLocksBack(int fd, LockNotes& notes) noexcept {
  std::list<LockNotes::Noted> locks;
  {
    const Guard guard(All().mutex);
    locks.swap(notes.locks);
    for (const LockNotes::Noted& held : locks) {
      if (!held.isBorrowed) {
        Settle(fd, notes, held.lock.range);
      }
    }
    notes.isClosed = true;
  }
  All().changed.notify_all();
}

void HoldLocks() {
  All().mutex.lock();
}

void LetLocksGo() {
  All().mutex.unlock();
}

// No thread waits in the child, but the condition may remember those that did.
void LetLocksGoInChild() {
  new (&All().changed) std::condition_variable;
  All().mutex.unlock();
}

}  // namespace posix
