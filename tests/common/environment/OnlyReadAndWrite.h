#pragma once

/// From here on every call of the system by this thread ends the process, except those
/// that read or write, get memory, or end it. False where the system has no such limit.
/// In a child process only: this cannot be undone.
bool AllowOnlyReadAndWrite();
