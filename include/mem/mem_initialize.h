// mem_initialize, mem_finalize: start and stop of the mem library.

#pragma once

#include "KSTutl_export.h"

/// Nothing to bring up: the heap is the run time's.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void mem_initialize(int& count);

/// Nothing to take down; blocks stay valid.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void mem_finalize(int& count);
