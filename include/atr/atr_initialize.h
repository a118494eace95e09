#pragma once

#include "KSTutl_export.h"

/// Start and end of the atr_ library. Its strings need no preparation: nothing is done,
/// and `count`, the caller's counter, is left alone. May be called any number of times.
/// Threads: for start-up and shut-down, one thread.
KSTUTL_EXPORT void atr_initialize(int& count);
KSTUTL_EXPORT void atr_finalize(int& count);
