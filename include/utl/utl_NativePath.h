#pragma once

#include <filesystem>

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Converts between the library's file names and the system's own, which streams,
/// std::filesystem and other programs use. On Windows both are the same; on Linux the
/// library calls the root Z: and uses `\` as separator:
///
///     library          Linux, own        library        Linux, own
///     Z:\home\u\a.txt  /home/u/a.txt     sub\a.txt      sub/a.txt
///     /home/u/a.txt    /home/u/a.txt     ..\a.txt       ../a.txt
///
///     std::ifstream in(utl_nativePath(utl_JobFileName(".dat")));
///
/// Threads: any; the current directory must not change meanwhile.

/// The system's name of the file that `path` names for the library. Only the text up to
/// the first zero byte counts.
///
/// On Linux that is `path` with `/` as its separator and "." and ".." removed. Where no
/// such file exists, but the library, which ignores letter case, finds one, it is that
/// file's name on the disk. A name on a drive other than Z:, a host's name (`\\host\a`)
/// and a URL come back with `/` for `\`; there is no file of that name.
///
/// On Windows the bytes are those of the ANSI code page; an invalid one is replaced as
/// the system's calls replace it. Throws nothing but std::bad_alloc.
KSTUTL_EXPORT std::filesystem::path utl_nativePath(const cow_String& path);

/// The library's name of the file `path`: absolute with its drive, or relative like
/// `path`. The separators of a Linux path become `\`. The file system is not asked.
///
/// Throws nex_TextException when the library has no name for it, with the text
///
///     *** Error: The library has no name for the file "a\b.txt".
///
/// It has none for paths that on Linux hold a backslash or end with a dot or a blank, and
/// on Windows for those with characters outside the ANSI code page, which the text shows
/// as that page replaces them (`?`).
KSTUTL_EXPORT cow_String utl_fromNativePath(const std::filesystem::path& path);
