#pragma once

#include "KSTutl_export.h"

/// Start and end of the nex_ library. Its exceptions need no preparation: nothing is
/// done, and `count`, the caller's counter, is left alone. May be called any number of
/// times. Threads: for start-up and shut-down, one thread.
KSTUTL_EXPORT void nex_initialize(int& count);
KSTUTL_EXPORT void nex_finalize(int& count);
