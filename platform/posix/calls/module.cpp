// The modules of the process, and its end.
//
// Not emulated: finding a module by its name, and a handle that is not pinned; both flags
// are assumed. Threads run until the process is gone, even while the libraries' static
// objects are destroyed: the process never appears to be ending.

#include <dlfcn.h>

#include "platform/posix/state/posix_error.h"

using namespace posix;

BOOL GetModuleHandleExA(DWORD, LPCSTR name, HMODULE* module) {
  Dl_info found = {};
  void* const kept =
      dladdr(name, &found) != 0
          ? dlopen(found.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE)
          : nullptr;
  *module = static_cast<HMODULE>(kept);
  return kept != nullptr ? TRUE : Fail(ERROR_MOD_NOT_FOUND);
}

// The compiler's headers for Windows lack it, so each caller declares it.
extern "C" BOOLEAN RtlDllShutdownInProgress();
BOOLEAN RtlDllShutdownInProgress() {
  return FALSE;
}
