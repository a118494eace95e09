#include "utl/utl_noInherit.h"

#include <io.h>
#include <windows.h>

#include <cstdint>

namespace {

// Handles fit 32 bits and are widened with their sign.
bool ClearInheritance(int handle) {
  if (handle == -1) {
    return false;
  }
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  const auto wide = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(handle));
  return SetHandleInformation(wide, HANDLE_FLAG_INHERIT, 0) != FALSE;
}

}  // namespace

bool utl_noInheritFile(int descriptor) {
  return ClearInheritance(static_cast<int>(_get_osfhandle(descriptor)));
}

bool utl_noInheritSocket(int socket) {
  return ClearInheritance(socket);
}
