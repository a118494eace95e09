#pragma once

#include <cstdint>

#include "cow/cow_String.h"

/// A lock that is held by the mere existence of an empty file, made by the run time's
/// exclusive create.
/// Threads: one object is used by one thread at a time.
class utl_LockFileHolder {
 public:
  /// Makes `attempts` attempts at once; 0 only records the path. The lock file gets the
  /// rights of the open file with the handle `like`; without one only its owner may use
  /// it.
  utl_LockFileHolder(const cow_String& path, int attempts, unsigned pauseMilliseconds,
                     void* like = nullptr);
  /// Removes the lock file if this object made it; the copy of it in a forked child
  /// leaves the file to the parent.
  ~utl_LockFileHolder();
  utl_LockFileHolder(const utl_LockFileHolder&) = delete;
  utl_LockFileHolder& operator=(const utl_LockFileHolder&) = delete;

  /// Tries up to `attempts` times to make the file, with a pause after each failed
  /// attempt, the last one too. True when the lock is held, even if it already was.
  bool acquire(int attempts, unsigned pauseMilliseconds);

 private:
  void TryOnce();

  bool held_ = false;
  std::uint32_t process_ = 0;  // the one that made the file
  cow_String path_;
  void* like_;
};
