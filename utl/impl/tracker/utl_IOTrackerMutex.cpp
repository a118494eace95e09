#include "utl/impl/tracker/utl_IOTrackerMutex.h"

#include "thr/thr_threadsAreGone.h"

bool utl_IOTrackerMutex::LockAtEnd() {
  return thr_threadsAreGone() ? mutex_.try_lock() : Lock();
}
