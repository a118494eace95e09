#pragma once

// The process calls of the Windows C run time, on POSIX.

#include "KSTutl_export.h"

KSTUTL_EXPORT int _getpid();
