#pragma once

// The mutexes of the I/O tracker.

#include <cstdint>

#include "thr/thr_currentProcess.h"
#include "thr/thr_Mutex.h"

/// A mutex that no thread waits for forever. The thread that holds it may no longer
/// exist: in a child of `fork`, which has none of its parent's other threads, and at the
/// end of the process where the system ends the other threads first. What it guards may
/// then be half changed, and is left alone.
///
/// Threads: any; a thread that holds the mutex must not lock it again.
class utl_IOTrackerMutex {
 public:
  class Hold;

  /// Whether the calling process made it; false in a child of `fork`.
  bool IsOwn() const { return process_ == thr_currentProcess(); }

 private:
  bool Lock() {
    const bool isOwn = IsOwn();
    if (isOwn) {
      mutex_.lock();
    }
    return isOwn;
  }
  bool LockAtEnd();

  thr_Mutex mutex_;
  const std::uint32_t process_ = thr_currentProcess();
};

/// Holds a mutex for a scope, and tells whether it could be locked:
///
///     if (const utl_IOTrackerMutex::Hold hold{mutex}) { ... }
class utl_IOTrackerMutex::Hold {
 public:
  /// Waits for the mutex; in a child of `fork` it does not get it.
  explicit Hold(utl_IOTrackerMutex& mutex) : Hold(mutex, mutex.Lock()) {}
  /// The same at the tracker's end: it does not wait when all other threads are gone.
  static Hold AtEnd(utl_IOTrackerMutex& mutex) { return {mutex, mutex.LockAtEnd()}; }
  ~Hold() {
    if (locked_ != nullptr) {
      locked_->unlock();
    }
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

  explicit operator bool() const { return locked_ != nullptr; }

 private:
  Hold(utl_IOTrackerMutex& mutex, bool isLocked)
      : locked_(isLocked ? &mutex.mutex_ : nullptr) {}

  thr_Mutex* const locked_;
};
