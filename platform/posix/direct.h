#pragma once

// The directory calls of the Windows C run time, on POSIX. The root is drive Z:.

#include "KSTutl_export.h"

KSTUTL_EXPORT char* _getcwd(char* buffer, int size);
KSTUTL_EXPORT char* _getdcwd(int drive, char* buffer, int size);
KSTUTL_EXPORT int _chdir(const char* path);
