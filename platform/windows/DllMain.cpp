// The load-time entry of the library. No state is made here: utl_initialize does that.

#include <windows.h>

// Threads that come and go need not call in; where the system refuses to leave the calls
// out, they stay and do nothing.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(library);
  }
  return TRUE;
}
