// The load-time entry of the library. No state is made here: utl_initialize does that.

#include <windows.h>

// Starts and ends of threads need no call; where the system refuses to omit the calls,
// they do nothing.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(library);
  }
  return TRUE;
}
