// Byte-range locks, by open file description: they belong to the handle, and go
// with it. The system knows what a handle holds, not how often and in which order;
// that is noted here. Between handles, of one process or two, the system decides;
// what one handle's locks mean to each other is decided here, since to the system
// a new lock of the same description replaces the older one.
//
// Whatever changes the system's view of a handle is done without waiting and under the
// mutex, with one exception: one thread a handle may wait in the system. When that
// returns, what it has brought is taken up like any other request, or given back.
//
// Not emulated: ranges of one handle that overlap without being equal stay locked
// until the last of them is unlocked; an exclusive lock through a handle without
// write access only keeps out exclusive locks of handles that have it, when the file
// cannot be opened for writing a second time. A child that inherits a descriptor shares
// its locks. A thread that waits in the system while another closes its handle may, if a
// signal interrupts it, lock the file that has got the descriptor's number since.

#include "platform/posix/state/posix_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <vector>

#include "platform/posix/state/posix_error.h"

namespace posix {
namespace {

// How long a thread sleeps while another of the same handle waits in the system.
constexpr std::chrono::milliseconds kPause(5);

enum class Asking { kNobody, kForShared, kForExclusive };

struct Holder {
  unsigned opening = 0;  // another number once the descriptor has been closed
  int writer = -1;       // carries the exclusive locks of one that may not write
  Asking asking = Asking::kNobody;  // what a thread waits for in the system
  std::vector<LockedRange> ranges;  // the earliest first
};

// Never destroyed, as files are closed by the destructors of others at the end.
struct AllHolders {
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Holder> holders;  // elements stay where they are
};

AllHolders& All() {
  static AllHolders& all = *new AllHolders;
  return all;
}

// Null for a descriptor without locks. REQUIRES: the mutex is held; fd >= 0.
Holder* Known(int fd) {
  const auto index = static_cast<size_t>(fd);
  return index < All().holders.size() ? &All().holders[index] : nullptr;
}

// The same, made where there is none.
Holder& HolderOf(int fd) {
  const auto index = static_cast<size_t>(fd);
  if (All().holders.size() <= index) All().holders.resize(index + 1);
  return All().holders[index];
}

bool Meet(const LockedRange& one, const LockedRange& other) {
  return one.start < other.start + other.length && other.start < one.start + one.length;
}

bool Apply(int fd, const LockedRange& range, short type, bool wait) {
  flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = range.start;
  lock.l_len = range.length;
  return Retried([&] { return fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock); }) ==
         0;
}

// The system wants a descriptor that may read for a shared lock, and one that may write
// for an exclusive one; the other kind is the best that is to be had then.
bool Ask(int fd, const LockedRange& range, bool wait) {
  const short type = range.exclusive ? F_WRLCK : F_RDLCK;
  const short otherType = range.exclusive ? F_RDLCK : F_WRLCK;
  return Apply(fd, range, type, wait) ||
         (errno == EBADF && Apply(fd, range, otherType, wait));
}

// The descriptor that carries a lock: the handle's own, or for an exclusive lock of one
// that may not write a second one of the same file, if that can be opened.
int CarrierOf(int fd, Holder& holder, bool exclusive) {
  if (!exclusive || (fcntl(fd, F_GETFL) & O_ACCMODE) != O_RDONLY) return fd;
  if (holder.writer < 0) {
    char again[40];
    std::snprintf(again, sizeof again, "/proc/self/fd/%d", fd);
    holder.writer = Retried([&] { return open(again, O_RDWR | O_CLOEXEC); });
  }
  return holder.writer >= 0 ? holder.writer : fd;
}

// Whether the handle's own locks, or what one of its threads is about to get, stand
// against a range.
bool OwnRefuse(const Holder& holder, const LockedRange& range) {
  if (!range.exclusive) return false;
  // That thread's shared lock, granted later, would weaken the exclusive one.
  if (holder.asking == Asking::kForShared) return true;
  return std::any_of(holder.ranges.begin(), holder.ranges.end(),
                     [&range](const LockedRange& held) { return Meet(held, range); });
}

// Whether an exclusive lock of the handle serves for a range.
bool OwnCover(const Holder& holder, const LockedRange& range) {
  return std::any_of(
      holder.ranges.begin(), holder.ranges.end(),
      [&range](const LockedRange& held) { return held.exclusive && Meet(held, range); });
}

// Without waiting.
DWORD Try(int fd, Holder& holder, const LockedRange& range) {
  holder.ranges.reserve(holder.ranges.size() + 1);  // before the system is asked
  if (OwnRefuse(holder, range)) return ERROR_LOCK_VIOLATION;
  if (!OwnCover(holder, range) &&
      !Ask(CarrierOf(fd, holder, range.exclusive), range, false)) {
    return CodeFromErrno(errno);
  }
  holder.ranges.push_back(range);
  return ERROR_SUCCESS;
}

// Lets the system know of a range what is noted: it may hold more.
void Settle(int fd, const Holder& holder, const LockedRange& range) {
  bool isShared = false;
  for (const LockedRange& held : holder.ranges) {
    if (!Meet(held, range)) continue;
    if (held.exclusive || held.start != range.start || held.length != range.length) {
      return;
    }
    isShared = true;
  }
  // At no moment less than the shared lock.
  if (isShared && holder.writer >= 0) Apply(holder.writer, range, F_RDLCK, false);
  Apply(fd, range, isShared ? F_RDLCK : F_UNLCK, false);
  if (holder.writer >= 0) Apply(holder.writer, range, F_UNLCK, false);
}

using Guard = std::unique_lock<std::mutex>;

// Waits in the system until others let go. The code of a failure, 0 on success.
DWORD AskAndWait(Guard& guard, int fd, Holder& holder, const LockedRange& range) {
  const unsigned opening = holder.opening;
  const int carrier = CarrierOf(fd, holder, range.exclusive);
  holder.asking = range.exclusive ? Asking::kForExclusive : Asking::kForShared;
  guard.unlock();
  const bool had = Ask(carrier, range, true);
  const DWORD code = had ? ERROR_SUCCESS : CodeFromErrno(errno);
  guard.lock();
  if (holder.opening == opening) holder.asking = Asking::kNobody;
  All().changed.notify_all();
  return code;
}

}  // namespace

DWORD LockRange(int fd, const LockedRange& range, bool wait) {
  Guard guard(All().mutex);
  Holder& holder = HolderOf(fd);
  const unsigned opening = holder.opening;
  DWORD code = Try(fd, holder, range);
  while (code == ERROR_LOCK_VIOLATION && wait) {
    bool asked = false;
    if (holder.asking != Asking::kNobody) {
      All().changed.wait_for(guard, kPause);
    } else if (OwnRefuse(holder, range)) {
      All().changed.wait(guard);
    } else {
      asked = true;
      code = AskAndWait(guard, fd, holder, range);
    }
    if (holder.opening != opening) return ERROR_INVALID_HANDLE;
    if (asked && code != ERROR_SUCCESS) return code;
    code = Try(fd, holder, range);
    if (asked && code != ERROR_SUCCESS) Settle(fd, holder, range);
  }
  return code;
}

DWORD UnlockRange(int fd, off_t start, off_t length) {
  const Guard guard(All().mutex);
  Holder* holder = Known(fd);
  if (holder == nullptr) return ERROR_LOCK_VIOLATION;
  std::vector<LockedRange>& ranges = holder->ranges;
  const auto isIt = [start, length](const LockedRange& held) {
    return held.start == start && held.length == length;
  };
  const auto found = std::find_if(ranges.begin(), ranges.end(), isIt);
  if (found == ranges.end()) return ERROR_LOCK_VIOLATION;
  const LockedRange range = *found;
  ranges.erase(found);
  Settle(fd, *holder, range);
  All().changed.notify_all();
  return ERROR_SUCCESS;
}

void ForgetLocks(int fd) noexcept {
  const Guard guard(All().mutex);
  Holder* holder = Known(fd);
  if (holder == nullptr) return;
  if (holder->writer >= 0) close(holder->writer);
  const unsigned opening = holder->opening + 1;
  *holder = Holder();
  holder->opening = opening;
  All().changed.notify_all();
}

}  // namespace posix
