#include "thr/thr_currentProcess.h"

#include <windows.h>

std::uint32_t thr_currentProcess() {
  return GetCurrentProcessId();
}
