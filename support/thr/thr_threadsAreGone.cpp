#include "thr/thr_threadsAreGone.h"

#include <windows.h>

// Of the system's lowest library; the compiler's headers lack it.
extern "C" BOOLEAN WINAPI RtlDllShutdownInProgress();

bool thr_threadsAreGone() {
  return RtlDllShutdownInProgress() != FALSE;
}
