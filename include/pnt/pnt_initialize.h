// pnt_initialize, pnt_finalize: start and stop of the pnt library.

#pragma once

#include "KSTutl_export.h"

/// Nothing to bring up.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void pnt_initialize(int& count);

/// Nothing to take down.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void pnt_finalize(int& count);
