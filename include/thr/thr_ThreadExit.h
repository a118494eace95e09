// thr_ThreadExit: clean-ups that run when a thread ends.

#pragma once

#include "KSTutl_export.h"

/// The process-wide registry of clean-ups at thread exit.
///
/// It uses an operating-system slot whose callback runs at the end of every thread, the
/// only signal for a library whose attach and detach notifications are switched off. The
/// slot is never freed, and from the first registration on the library stays loaded until
/// the process ends.
///
/// The clean-ups of the thread that ends the whole process may not run.
///
/// Threads: any; each thread has a list of its own.
class KSTUTL_EXPORT thr_ThreadExit {
 public:
  thr_ThreadExit() = delete;

  /// Has the calling thread call `cleanup` when it ends; the last one registered runs
  /// first. A clean-up that is already registered is not added again; one registered
  /// while the thread's clean-ups run is also run. Throws `std::bad_alloc` when memory or
  /// slots run out. REQUIRES: `cleanup` does not throw.
  static void Register(void (*cleanup)());
};
