// thr_ThreadExit: clean-ups that run when a thread ends.

#pragma once

#include "KSTutl_export.h"

/// The process-wide registry of clean-ups at thread exit.
///
/// It hangs on an operating-system slot whose callback runs at the end of every thread,
/// because a library whose attach and detach notifications are switched off can rely on
/// no other sign. The slot is never given back, and from the first registration on the
/// library stays loaded until the process ends.
///
/// The clean-ups of a thread that ends the whole process need not run.
///
/// Threads: any; each thread has a list of its own.
class KSTUTL_EXPORT thr_ThreadExit {
 public:
  thr_ThreadExit() = delete;

  /// Has `cleanup` called on the calling thread when that ends, the last registered
  /// first. A clean-up that is registered already is not added again; one registered
  /// while the thread's clean-ups run is run too. Throws `std::bad_alloc` when memory or
  /// slots run out. REQUIRES: `cleanup` does not throw.
  static void Register(void (*cleanup)());
};
