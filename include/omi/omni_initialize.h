// omni_initialize, omni_finalize: start and stop of the omi library.

#pragma once

#include "KSTutl_export.h"

/// Nothing to bring up: singletons are made on first use.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void omni_initialize(int& count);

/// Nothing to take down: singletons are ended one by one by their owners.
/// May be called any number of times, from one thread; leaves `count` alone.
KSTUTL_EXPORT void omni_finalize(int& count);
