#pragma once

#include <string>
#include <string_view>

/// A path's text in the form in which two of them can be compared: taken from the current
/// directory if it is relative, with `\` for `/`, small letters for the capitals of ASCII
/// whatever the process's locale, without "." and ".." and empty components, and with a
/// last `\`. So what lies in a directory starts with the directory's form. The file
/// system is not asked. "" when the current directory cannot be determined.
///
///     utl_comparablePath("Z:/Jobs//old/../A.dat")    // "z:\jobs\a.dat\"
///
/// Threads: any. The process's current directory must not change meanwhile.
std::string utl_comparablePath(std::string_view path);
