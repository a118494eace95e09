#pragma once

// What the text of a path shows by itself. Only `\` separates here: callers replace every
// `/` first.

#include <string_view>

#include "cow/cow_String.h"
#include "utl/impl/text/utl_ascii.h"

/// Whether the path starts with a drive: "C:...".
constexpr bool utl_hasDrive(std::string_view path) {
  return path.size() >= 2 && utl_isLetter(path[0]) && path[1] == ':';
}

/// The number by which the system knows the drive of this letter: 1 for A and a.
constexpr int utl_driveNumber(char letter) {
  return utl_smallLetter(letter) - 'a' + 1;
}

/// Whether the path starts with a drive and its root: `C:\...`.
constexpr bool utl_hasDriveAndRoot(std::string_view path) {
  return utl_hasDrive(path) && path.size() >= 3 && path[2] == '\\';
}

/// Whether the path starts with two backslashes.
constexpr bool utl_hasHostStart(std::string_view path) {
  return path.starts_with("\\\\");
}

/// Whether the path starts with a host, of at least one character: `\\h...`.
constexpr bool utl_hasHost(std::string_view path) {
  return utl_hasHostStart(path) && path.size() >= 3 && path[2] != '\\';
}

/// Whether a directory is absolute: `\\h...` or `C:\...`.
constexpr bool utl_isAbsoluteDirectory(std::string_view directory) {
  return utl_hasHost(directory) || utl_hasDriveAndRoot(directory);
}

/// Whether the name of a file is absolute. Unlike a directory it may also start with a
/// single backslash, which at least two characters follow: `\ab`.
constexpr bool utl_isAbsoluteName(std::string_view name) {
  const bool hasRoot =
      name.size() >= 3 && name[0] == '\\' && name[1] != '\\' && name[1] != ':';
  return hasRoot || utl_isAbsoluteDirectory(name);
}

/// The text without the backslashes at its end.
constexpr std::string_view utl_withoutTrailingSeparators(std::string_view text) {
  return text.substr(0, text.find_last_not_of('\\') + 1);
}

/// Appends a backslash unless there is one at the end.
inline void utl_addSeparator(cow_String& path) {
  if (!std::string_view(path).ends_with('\\')) {
    path += '\\';
  }
}
