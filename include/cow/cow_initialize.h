#pragma once

#include "KSTutl_export.h"

/// Start and end of the cow_ library. Its containers need no preparation: nothing is
/// done, and `count`, the caller's counter, is left alone. May be called any number of
/// times. Threads: for start-up and shut-down, one thread.
KSTUTL_EXPORT void cow_initialize(int& count);
KSTUTL_EXPORT void cow_finalize(int& count);
