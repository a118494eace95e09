#pragma once

#include <windows.h>

#include <cstdint>

/// The handle of this number, as `_get_osfhandle` answers with one.
inline HANDLE AsHandle(std::intptr_t number) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is a number in a pointer's type.
  return reinterpret_cast<HANDLE>(number);
}
