#pragma once

// Internal to the library: what all functions of the C interface share.

#include "cow/cow_String.h"
#include "utl/impl/c/utl_cState.h"
#include "utl/utl_c.h"

/// A status other than kst_Ok on its way out of a function.
struct utl_CFailure {
  kst_Status status;
  cow_String text;
};

/// Throws it.
[[noreturn]] void utl_cFail(kst_Status status, const cow_String& text);

/// Throws kst_BadArgument, "ARGUMENT is null", if it is.
void utl_cRequire(const void* pointer, const char* argument);

/// Copies a text to the caller, as utl_c.h describes for these three arguments.
void utl_cHandOut(const cow_String& text, char* buffer, size_t size, size_t* length);

/// Makes the exception that is being handled the thread's last error, and returns its
/// status.
kst_Status utl_cFailed(const char* function) noexcept;

/// Does the work of `function`; returns kst_Ok or the status of what it throws.
template <class Work>
kst_Status utl_cTry(const char* function, Work work) noexcept {
  try {
    work();
    return kst_Ok;
  } catch (...) {
    return utl_cFailed(function);
  }
}

/// The same for functions that need the library started; their work gets its state.
template <class Work>
kst_Status utl_cCall(const char* function, Work work) noexcept {
  return utl_cTry(function, [&] {
    if (utl_cState == nullptr) {
      utl_cFail(kst_NotStarted, "kst_start has not been called");
    }
    work(*utl_cState);
  });
}
