#pragma once

#include <windows.h>

#include <initializer_list>

// A call of a DLL goes through a pointer, __imp_NAME, or where a header does not say that
// the function is in a DLL, through a function NAME that uses the pointer. The linker
// takes both from the DLL's import library unless the program defines them.

#define REDIRECT(Result, name, ...) REDIRECT_EXPANDED(Result, name, __VA_ARGS__)

// The names of psapi.h are macros.
#define REDIRECT_EXPANDED(Result, name, ...)                   \
  extern "C" {                                                 \
  Result WINAPI Redirected_##name(__VA_ARGS__) __asm__(#name); \
  decltype(&name) __imp_##name = &Redirected_##name;           \
  }                                                            \
  Result WINAPI Redirected_##name(__VA_ARGS__)

#define REAL(name) REAL_EXPANDED(name)

#define REAL_EXPANDED(name)                                                \
  ([] {                                                                    \
    static const auto real = redirection::FromDll<decltype(&name)>(#name); \
    return real;                                                           \
  }())

namespace redirection {

using HostNameSize = int;

/// A function of the system's DLLs.
template <class Function>
Function FromDll(const char* name) {
  for (const char* dll : {"kernel32", "msvcrt", "advapi32", "ws2_32"}) {
    if (FARPROC function = GetProcAddress(LoadLibraryA(dll), name)) {
      return reinterpret_cast<Function>(reinterpret_cast<void*>(function));
    }
  }
  return nullptr;
}

}  // namespace redirection
