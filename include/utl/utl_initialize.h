#pragma once

#include "KSTutl_export.h"

/// Start and end of the library. Every client calls `utl_initialize` before any other
/// use and `utl_finalize` once for each of those calls at the end; calls nest, and only
/// the first and the last of them do work.
///
/// `count` is the client's own counter. It goes up by one in the call that really starts
/// the library and down by one in the call that really ends it, and stays as it is in
/// all others.
///
/// Neither reports a failure of its own. After the end the library can be started again.
///
/// Threads: not locked; for the one thread that starts and ends the client.
///
///     int count = 0;
///     utl_initialize(count);   // count is 1
///     ...
///     utl_finalize(count);     // count is 0

/// Starts the support libraries and the socket layer at the first call. Then, if the
/// environment variable KES_LEARNER is exactly "ON", this is the Learner Edition (see
/// utl_Version).
KSTUTL_EXPORT void utl_initialize(int& count);

/// Ends, at the call that matches the first `utl_initialize`, the objects that exist once
/// per process and then the support libraries. The resource monitor stays: whoever
/// started it ends it.
///
/// One call too many is not caught, and clients rely on how it counts: the nesting goes
/// below zero, and the next `utl_initialize` only brings it back to zero.
///
/// REQUIRES: no other thread uses the process-wide objects any more.
KSTUTL_EXPORT void utl_finalize(int& count);
