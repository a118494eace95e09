// thr_initialize, thr_finalize: start and stop of the thr library.

#pragma once

#include "KSTutl_export.h"

/// Makes `thr_GlobalLock`.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void thr_initialize(int& count);

/// Ends the process's thread pool and waits for its running tasks, so that no thread of
/// the library is left. The global lock stays. Where the system has ended the threads
/// already, because the process is ending, the pool is left as it is. In a child of
/// `fork` the parent's pool is forgotten, without waiting. May be called any number of
/// times, from one thread; leaves `count` alone. REQUIRES: the pool's tasks have been
/// told to end.
KSTUTL_EXPORT void thr_finalize(int& count);
