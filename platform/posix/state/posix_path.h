#pragma once

// Names as the Windows calls take them, turned into POSIX paths. The root is
// drive Z:, `\` and `/` both separate, a name without a drive is on Z:.

#include <string>
#include <string_view>

#include <windows.h>

namespace posix {

/// A name that has been read: absolute, "/" separated, "." and ".." removed as text.
struct Path {
  std::string path;
  bool separatorAtEnd = false;  // "dir\", which a file's name must not have
};

/// Whether a name is that of a file or directory, or a pattern, whose last component may
/// hold "*" and "?".
enum class NameKind { kPlain, kPattern };

/// Whether a name begins with a drive: any character and a colon.
bool HasDrive(std::string_view name);

/// Reads `name` without looking at what exists; the result is an error code, 0 on
/// success.
DWORD Read(const char* name, NameKind kind, Path& result);

/// Reads `name` and finds what it refers to. An existing exact name comes first; a
/// component that does not exist as written is looked up without regard to letter case;
/// what does not exist at all stays as written, to be created or to fail.
DWORD Resolve(const char* name, Path& result);

/// The second half of Resolve: a path with the spelling of what exists.
std::string Spelled(const std::string& path);

/// An absolute path as Resolve reads it before it looks at what exists.
std::string ReadAs(std::string_view path);

/// Whether the path names something, even a link that points to nothing.
bool Exists(const std::string& path);

/// The code for a path that does not exist: 2, or 3 when its directory does not
/// exist either.
DWORD MissingCode(const std::string& path);

/// The code for a call on a path that has failed with the current errno.
DWORD CodeOfFailure(const std::string& path);

/// The directory part of an absolute path, "/" for a name in the root.
std::string ParentOf(const std::string& path);

/// A POSIX path as callers see it: "/home/u" is "Z:\home\u".
std::string Shown(const std::string& path);

}  // namespace posix
