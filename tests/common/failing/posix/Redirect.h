#pragma once

#include <dlfcn.h>

#include <cstddef>

// The program defines the calls itself: its functions take precedence over those of the
// same name in a shared library, even for calls from there.

#define REDIRECT(Result, name, ...) Result name(__VA_ARGS__)

#define REAL(name)                                         \
  ([] {                                                    \
    static const auto real = redirection::NextOf(&(name)); \
    return real;                                           \
  }())

namespace redirection {

using HostNameSize = std::size_t;

/// The function that one of this program's hides.
template <class Function>
Function* NextOf(Function* own) {
  Dl_info info = {};
  dladdr(reinterpret_cast<void*>(own), &info);
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, info.dli_sname));
}

}  // namespace redirection
