#include "support/thr/thr_keepLibraryLoaded.h"

#include <windows.h>

void thr_keepLibraryLoaded() {
  static constexpr char kInside = 0;
  HMODULE library = nullptr;
  GetModuleHandleExA(
      GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, &kInside,
      &library);
}
