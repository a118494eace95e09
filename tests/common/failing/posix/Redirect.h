#pragma once

#include <dlfcn.h>

#include <cerrno>
#include <cstddef>

// The program defines the calls itself: its functions take precedence over those of the
// same name in a shared library, even for calls from there.

#define REDIRECT(Result, name, ...) Result name(__VA_ARGS__)

// Waiting for another thread that looks for the same function can change errno.
#define REAL(name)                                         \
  ([] {                                                    \
    const int keptErrno = errno;                           \
    static const auto real = redirection::NextOf(&(name)); \
    errno = keptErrno;                                     \
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
