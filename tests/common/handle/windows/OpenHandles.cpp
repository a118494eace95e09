#include "common/handle/OpenHandles.h"

#include <windows.h>

int OpenHandles() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return static_cast<int>(count);
}
