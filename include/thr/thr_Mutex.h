// thr_Mutex: the lock of the product's libraries.

#pragma once

#include <mutex>

/// A plain, non-recursive mutual-exclusion lock.
///
/// Its operations have the standard library's names, so that std::lock_guard works on it:
///
///     std::lock_guard guard(mutex);
///
/// Threads: any; a thread that holds the lock must not lock it again.
class thr_Mutex {
 public:
  thr_Mutex() = default;
  thr_Mutex(const thr_Mutex&) = delete;
  thr_Mutex& operator=(const thr_Mutex&) = delete;

  /// Waits until no other thread holds the lock, and takes it.
  void lock() { mutex_.lock(); }

  /// Takes the lock if no thread holds it; false otherwise.
  bool try_lock() { return mutex_.try_lock(); }

  /// Releases the lock. REQUIRES: the calling thread holds it.
  void unlock() { mutex_.unlock(); }

  // The rest is implementation.

 private:
  std::mutex mutex_;
};
