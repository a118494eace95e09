// thr_threadsAreGone: for whoever is about to wait for another thread.

#pragma once

#include "KSTutl_export.h"

/// Whether the process is ending and the system has ended all its other threads already,
/// wherever they were: Windows does so before static objects of libraries are destroyed.
/// What such a thread held stays locked, and what it was to do is never done.
///
/// Threads: any.
KSTUTL_EXPORT bool thr_threadsAreGone();
