// typ_initialize, typ_finalize: start and stop of the typ library.

#pragma once

#include "KSTutl_export.h"

/// Nothing to bring up: every debug flag starts at level 0.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void typ_initialize(int& count);

/// Sets every debug flag back to level 0.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void typ_finalize(int& count);
