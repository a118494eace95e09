#pragma once

// The current directory, whose name this system keeps in a form of its own.

#include <string>

#include <windows.h>

namespace posix {

/// The current directory as it was written when _chdir took it, "." and ".." taken out:
/// links are not followed, and letter case is the caller's. One that was set by other
/// means has the name that the system gives it. One that has been removed keeps its name.
/// "" and errno when it cannot be told.
std::string CurrentDirectory();

/// The same as callers see it, with the drive's letter as it was written.
std::string ShownCurrentDirectory();

/// Makes `path`, which exists, the current directory, written `written` on the drive
/// `drive`, or on the present one when that is 0. The result is an error code, 0 on
/// success.
DWORD ChangeDirectory(const std::string& path, const std::string& written, char drive);

}  // namespace posix
