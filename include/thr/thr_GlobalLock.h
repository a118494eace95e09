// thr_GlobalLock: the one lock under which process-wide locks and slots are created.

#pragma once

#include "KSTutl_export.h"
#include "thr/thr_Mutex.h"

/// The process-wide lock that guards the creation and destruction of every singleton's
/// mutex and of every thread singleton's slot.
///
/// Whoever holds a singleton's mutex may take this lock; whoever holds this lock takes
/// no other. It is made by `thr_initialize`, or by the first use if that comes earlier,
/// and never destroyed: clean-ups of threads that outlive the library still need it. A
/// child of `fork` has a new one: a thread that the child does not have may hold the
/// parent's.
///
///     std::lock_guard guard(thr_GlobalLock::Instance());
///
/// Threads: any thread, at any time.
class KSTUTL_EXPORT thr_GlobalLock {
 public:
  thr_GlobalLock() = delete;

  /// The lock; the same object for every module and every thread of the process.
  static thr_Mutex& Instance();
};
