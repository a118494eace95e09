#pragma once

// The current directory, whose name the system keeps in a form of its own.

#include <string>

#include <windows.h>

namespace posix {

/// The current directory as _chdir was given it, with "." and ".." removed: links are not
/// followed, and letter case is the caller's. One that was set by other means has the
/// name that the system gives it. One that has been removed keeps its name. "" and errno
/// when it cannot be determined.
std::string CurrentDirectory();

/// The same as callers see it, with the drive's letter as it was written.
std::string ShownCurrentDirectory();

/// Makes `path`, which exists, the current directory, written `written` on the drive
/// `drive`, or on the present one when that is 0. The result is an error code, 0 on
/// success.
DWORD ChangeDirectory(const std::string& path, const std::string& written, char drive);

}  // namespace posix
