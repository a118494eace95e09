#pragma once

#include "late_end_export.h"

/// A client library that begins as every client does, but ends the library only in the
/// destructor of a static object: on Windows that runs when all other threads of the
/// process are gone.
LATE_END_EXPORT void late_end_begin();
