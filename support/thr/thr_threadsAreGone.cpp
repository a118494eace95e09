#include "thr/thr_threadsAreGone.h"

#include <windows.h>

// Declared here because the compiler's headers lack it; it is in ntdll.
extern "C" BOOLEAN WINAPI RtlDllShutdownInProgress();

bool thr_threadsAreGone() {
  return RtlDllShutdownInProgress() != FALSE;
}
