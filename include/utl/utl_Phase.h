#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// A phase of a job, for as long as the object lives: timed by the resource monitor, and
/// at its end marked in the monitor and the I/O tracker, as far as the environment asks
/// for them. A phase that an exception ends was not done: it gets no mark and no time.
///
///     {
///       const utl_Phase phase(1, "assemble");
///       Assemble();
///     }   // the mark "assemble" in JOB.use and JOB.ioTotal
///
/// Phases may nest if their timers differ.
///
/// Threads: the main thread's, as the monitor is.
class KSTUTL_EXPORT utl_Phase {
 public:
  /// `timer` is the monitor's, 0 to 19 (20 is taken; another number is not timed).
  utl_Phase(int timer, const cow_String& name);
  /// Throws nothing: a mark for which there is no memory is left out.
  ~utl_Phase();
  utl_Phase(const utl_Phase&) = delete;
  utl_Phase& operator=(const utl_Phase&) = delete;

  // The rest is implementation.

 private:
  int timer_;
  cow_String name_;
  int exceptions_;  // on their way when the phase began
};
