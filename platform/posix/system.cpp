// Waiting, and the own process's number.

#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

#include "windows.h"

void Sleep(DWORD milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  timespec rest = {static_cast<time_t>(milliseconds / 1000),
                   static_cast<long>(milliseconds % 1000) * 1000000};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
  }
}

DWORD GetCurrentProcessId() {
  return static_cast<DWORD>(getpid());
}

HANDLE GetCurrentProcess() {
  return INVALID_HANDLE_VALUE;
}
