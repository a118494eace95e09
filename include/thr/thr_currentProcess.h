// thr_currentProcess: whose an object is after a fork.

#pragma once

#include <cstdint>

#include "KSTutl_export.h"

/// The number of the calling process. It is told without a system call, as a rule.
///
/// On Linux a process can be copied by `fork`. The child has a copy of every object and
/// none of the other threads: what they held stays locked in it, and what they were to do
/// is never done. Files and their names are shared with the parent, who goes on using
/// them. So an object that waits for threads, holds text back for a file or removes a
/// file at its end keeps the number of the process that made it; where the number is
/// another one now, it neither waits nor writes nor removes. On Windows it never is.
///
/// Not noticed is a child that was made by the system call itself, past the C library's
/// `fork`; nor one of `vfork`, which can only start a program.
///
/// Threads: any.
KSTUTL_EXPORT std::uint32_t thr_currentProcess();
