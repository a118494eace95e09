// pnt_StartDebug, pnt_EndDebug: marks around debug printing.

#pragma once

#include "KSTutl_export.h"

// What a thread prints to standard output between the two marks is not mixed with what
// other threads print between theirs.
//
//     pnt_StartDebug();
//     std::printf("\n Free space = %llu MB \n", megabytes);
//     pnt_EndDebug();
//
// Threads: any. The marks of one thread nest.

/// Waits until no other thread is between the marks.
KSTUTL_EXPORT void pnt_StartDebug();

/// Flushes standard output and lets the next thread print.
/// REQUIRES: the calling thread is between the marks.
KSTUTL_EXPORT void pnt_EndDebug();
