// thr_ThreadSlot: one pointer per thread, in a slot of the operating system.

#pragma once

#include <atomic>

#include "KSTutl_export.h"

/// One pointer per thread. Its slot is allocated, under `thr_GlobalLock`, when the first
/// thread sets its pointer, and freed when the last thread has taken its pointer out.
/// This is for `thr_ThreadSingleton`, which is what other code should use.
///
/// Threads: any; each sees its own pointer.
class KSTUTL_EXPORT thr_ThreadSlot {
 public:
  constexpr thr_ThreadSlot() = default;

  /// The calling thread's pointer, null if it has set none. The thread's last system
  /// error is not disturbed.
  void* Get() const;

  /// Sets the calling thread's pointer and has `cleanup` called when the thread ends.
  /// Throws `std::bad_alloc`, with nothing set, when memory or slots run out.
  /// REQUIRES: the thread has set none, and `value` is not null.
  void Set(void* value, void (*cleanup)());

  /// Takes the calling thread's pointer out; null if it has set none.
  void* Take();

  // The rest is implementation.

 private:
  static constexpr unsigned kNone = 0xFFFFFFFF;

  void Join();
  void Leave();

  std::atomic<unsigned> index_{kNone};
  int users_ = 0;  // guarded by thr_GlobalLock
};
