#pragma once

#include <windows.h>

// How the fakes stand between the library and the system. REDIRECT begins the definition
// of a function that is called in place of the system's, by the library's objects in this
// program and by the program itself; REAL(name) is the system's:
//
//     REDIRECT(BOOL, CloseHandle, HANDLE handle) {
//       return REAL(CloseHandle)(handle);
//     }
//
// A call is redirected in one place, in the source of its fake; each target has a header
// with these two macros.
#include "Redirect.h"

#include "common/failing/FailingCall.h"

namespace redirection {

/// Counts a call that cannot be made to fail, for DieAtCall.
void Reach();

/// Counts a call; true, with the last error set, for the one that is to fail.
bool Fails(SystemCall call);

}  // namespace redirection
