#pragma once

// Names as the Windows calls take them, turned into POSIX paths. The root is
// drive Z:, `\` and `/` both separate, a name without a drive is on Z:.

#include <string>
#include <string_view>

#include <windows.h>

namespace posix {

/// A resolved name: absolute, "/" separated, "." and ".." taken out as text.
struct Path {
  std::string path;
  bool separatorAtEnd = false;  // "dir\", which a file's name must not have
};

/// Resolves `name`; the result is an error code, 0 on success. Components that
/// do not exist as written are looked up without regard to case; what does not
/// exist at all stays as written, to be created or to fail.
DWORD Resolve(const char* name, Path& result);

/// An absolute path as Resolve reads it before it looks at what exists.
std::string ReadAs(std::string_view path);

/// Whether the path names something, be it a link that leads nowhere.
bool Exists(const std::string& path);

/// The code for a path that does not exist: 2, or 3 when its directory does not
/// exist either.
DWORD MissingCode(const std::string& path);

/// The code for a call on a path that has failed with the present errno.
DWORD CodeOfFailure(const std::string& path);

/// The current directory; "" and errno when it cannot be told.
std::string CurrentDirectory();

/// The directory part of an absolute path, "/" for a name in the root.
std::string ParentOf(const std::string& path);

/// A POSIX path as callers see it: "/home/u" is "Z:\home\u".
std::string Shown(const std::string& path);

}  // namespace posix
