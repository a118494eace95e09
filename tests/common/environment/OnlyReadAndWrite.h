#pragma once

/// From here on every call of the system by this thread ends the process, but for those
/// that read or write, get memory, or end it. False where such a limit is not to be had.
/// In a child process only: there is no way back.
bool AllowOnlyReadAndWrite();
