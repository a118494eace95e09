// thr_currentProcess: which process an object belongs to after a fork.

#pragma once

#include <cstdint>

#include "KSTutl_export.h"

/// The number of the calling process. This rarely takes a system call.
///
/// On Linux a process can be copied by `fork`. The child has a copy of every object and
/// none of the other threads: what they held stays locked in it, and what they were to do
/// is never done. Files and their names are shared with the parent, which goes on using
/// them. So an object that waits for threads, buffers text for a file or removes a file
/// at its end keeps the number of the process that made it; in another process it neither
/// waits nor writes nor removes. On Windows that never happens.
///
/// A child that was made by the system call itself, without the C library's `fork`, is
/// not noticed; nor is a child of `vfork`, which can only start a program.
///
/// Threads: any.
KSTUTL_EXPORT std::uint32_t thr_currentProcess();
