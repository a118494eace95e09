#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Facts about the machine and the process for logs, titles and scheduling. Every
/// function asks the system anew, keeps nothing (but for the socket layer) and may be
/// called from any thread.

/// Today's local date, "05-Mar-2007": two digits of the day, the month's English
/// abbreviation whatever the process's locale, the year.
KSTUTL_EXPORT cow_String utl_getDate();

/// The local time of day, "14:03:59".
KSTUTL_EXPORT cow_String utl_getTime();

/// The host's name, or "" when the system does not report it. Starts the socket layer for
/// itself at every call, so it works without utl_InitializeWinsock; these starts are
/// never paired with a clean-up.
KSTUTL_EXPORT cow_String utl_getHostName();

/// The name of the logged-on user, or "" when the system does not report it.
KSTUTL_EXPORT cow_String utl_getUserName();

/// The current directory with its drive, `Z:\home\u`, or "" when it cannot be determined
/// or has 260 characters or more.
KSTUTL_EXPORT cow_String utl_getcwd();

/// Always "win86_64": the platform that the product's tables know, on every target.
KSTUTL_EXPORT cow_String utl_getPlatform();

/// The number of processors, at least 1.
KSTUTL_EXPORT int utl_getNumberCpus();

/// The clock rate of processor 0 in MHz, or -1 when the system does not report it.
KSTUTL_EXPORT int utl_getCpusClockSpeed();

/// The name, without directory and extension, of the driver program that started the
/// process and left its path in the environment variable KES_COMMAND: "kst_driver" for
/// "/opt/bin/kst_driver". The driver named "launcher" answers "kst". A URL or network
/// connector is answered whole.
/// Throws nex_TextException "Failed to determine driver name" when KES_COMMAND is unset.
KSTUTL_EXPORT cow_String utl_getDriverName();

/// Sleeps for `milliseconds`, at once for 0. Always returns 1.
KSTUTL_EXPORT int utl_sleep(unsigned int milliseconds);

/// Starts the socket layer with version 2.0; where the system grants another version
/// the layer is left down. utl_initialize calls it and utl_finalize cleans up.
KSTUTL_EXPORT void utl_InitializeWinsock();
