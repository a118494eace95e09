// Byte-range locks, which belong to the open file and go with it. The system knows what
// an open file holds, not how often and in which order; that is noted here. Between open
// files, of one process or two, the system decides; what one open file's locks mean to
// each other is decided here, since to the system a new lock of the same open file
// replaces the older one. What the system says counts for more than a note: another
// process that has inherited the descriptor may have locked or unlocked.
//
// To the system an exclusive lock is that of somebody who may write. One who may not
// locks the range as if to share it, which keeps those out who may write, and then the
// same range a second time, far behind (kFirstReaderByte), where all who share look once
// they have their lock. Both first tell and then look: of two at once at least one sees
// the other, and may have to look again.
//
// To the system a shared lock is that of somebody who may read. One who may not locks a
// byte that is its own alone, far behind as well, at which all look who want a range
// exclusively, once they have it.
//
// Whatever changes the system's view of an open file is done without waiting and under
// the mutex, with one exception: one thread an open file may wait in the system. When
// that returns, what it has brought is taken up like any other request, or given back.
//
// Not emulated: ranges of one handle that overlap without being equal stay locked until
// the last of them is unlocked. How often each of several processes has locked a range
// that share an open file. A shared lock of a descriptor that may not read counts for the
// whole file, and not for another process that has the same open file. Programs that lock
// in other ways are not kept out by it, nor, if they only share, by an exclusive lock of
// a descriptor that may not write.

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

// How long a thread sleeps that waits for what the system tells nobody of.
constexpr std::chrono::milliseconds kPause(5);

// How often one looks again who does not wait: another one's attempt lasts some
// microseconds, in which it looks like a lock.
constexpr int kTries = 5;
constexpr std::chrono::microseconds kShortPause(50);

enum class Outcome {
  kLocked,
  kRefusedHere,   // by the open file's own locks, or by its waiting thread
  kRefusedThere,  // by another open file's; the system can wait for that
  kUndecided,     // by what another one has told, or is just telling
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

// Where somebody who may not write locks a range the second time.
Range ReaderRange(const Range& range) {
  return {kFirstReaderByte + range.start, range.length};
}

bool IsReaders(const LockNotes& notes, const LockedRange& lock) {
  return lock.exclusive && !notes.mayWrite;
}

constexpr Range kSharersBytes = {kFirstSharersByte, kFirstShareByte - kFirstSharersByte};

// What somebody who may not read locks instead of a range that is shared.
Range SharersByte(const LockNotes& notes) {
  return {kFirstSharersByte + (notes.identity.mark - kFirstMark), 1};
}

bool IsSharers(const LockNotes& notes, const LockedRange& lock) {
  return !lock.exclusive && !notes.mayRead && notes.identity.mark != 0;
}

// How the system is told of a lock on the range: as what it takes from this descriptor.
short TypeOf(const LockNotes& notes, const LockedRange& lock) {
  const bool asExclusive = lock.exclusive ? notes.mayWrite : !notes.mayRead;
  return asExclusive ? F_WRLCK : F_RDLCK;
}

// Whether the own locks, or what a thread is about to get, stand against a lock.
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

// Whether an own exclusive lock serves for a range.
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

// Forgets what the system does not know: another process has unlocked it.
void DropUnlocked(int fd, LockNotes& notes, const Range& range) {
  std::erase_if(notes.locks, [&](const LockNotes::Noted& held) {
    return Meet(held.lock.range, range) && !SystemKnows(fd, notes, held.lock);
  });
}

// Locks or unlocks the byte of somebody who may not read, as is noted.
void SettleSharersByte(int fd, const LockNotes& notes) {
  const bool shares = std::any_of(
      notes.locks.begin(), notes.locks.end(), [&notes](const LockNotes::Noted& held) {
        return IsSharers(notes, held.lock) && !held.isBorrowed;
      });
  SetLock(fd, shares ? F_WRLCK : F_UNLCK, SharersByte(notes));
}

// Lets the system know of a range what is noted: it may hold more.
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

// Whether it is the open file itself, through another process, that stands against a
// lock. Somebody else may let go between the two questions for which that is told, and
// come again: it is asked until that cannot be chance.
bool IsItsOwn(int fd, short type, const Range& range) {
  constexpr int kQuestions = 4;
  for (int i = 0; i < kQuestions; ++i) {
    if (!ItselfForbids(fd, type, range)) {
      return false;
    }
  }
  return true;
}

// What stands against a lock before the system is told of it. `isBorrowed` when it need
// not be told, since another process has a stronger lock by the same open file.
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

// Tells the system of a lock: what it answers.
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

// Whether something stands against a lock that the system does not count against it.
// `isBorrowed` as above.
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

// Tells the system of a lock, and looks for what the system does not count against it.
Outcome TellAndLook(int fd, const LockNotes& notes, const LockedRange& lock,
                    bool& isBorrowed) {
  const Outcome outcome = Tell(fd, notes, lock);
  if (outcome != Outcome::kLocked || !StandsAgainst(fd, notes, lock, isBorrowed)) {
    return outcome;
  }
  Settle(fd, notes, lock.range);
  return Outcome::kUndecided;
}

// A note on its way to the others, made beforehand since what is locked must be noted.
using OneNote = std::list<LockNotes::Noted>;

// Without waiting. A lock that is had takes its note along.
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

// Waits in the system until others let go; false with errno.
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

// Whether a refusal is worth another look even if nobody is to be waited for.
bool MayBeAnAttempt(int fd, const LockedRange& lock, Outcome outcome) {
  return outcome == Outcome::kUndecided ||
         (outcome == Outcome::kRefusedThere &&
          OthersForbid(fd, F_WRLCK, ReaderRange(lock.range)));
}

// Goes on where the first try was refused, by a descriptor of its own: the caller's may
// be closed meanwhile, and its number be another file's.
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
    const bool isOpen = !notes.isClosed && IsOf(fd, notes.identity);
    outcome = isOpen ? Try(own.Get(), notes, note) : Outcome::kFailed;
    const int number = errno;
    if (asks && outcome != Outcome::kLocked) {
      Settle(own.Get(), notes, lock.range);  // what the wait has brought
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
  // One that is not noted may be another process's, by the same open file.
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
