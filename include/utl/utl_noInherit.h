#pragma once

#include "KSTutl_export.h"

// Keep a file or socket from the processes that this one starts. Processes started before
// have it already. Both return true on success and never throw.
//
// Threads: any; a process that another thread starts at the same moment may still
// inherit.
//
//     int log = _open("job.log", flags);
//     utl_noInheritFile(log);            // a child process does not hold it open

/// For a descriptor of the run time. False when it is not open.
KSTUTL_EXPORT bool utl_noInheritFile(int descriptor);

/// For a socket. False for -1, about which the system is not asked, and for anything that
/// is not an open socket or handle.
KSTUTL_EXPORT bool utl_noInheritSocket(int socket);
