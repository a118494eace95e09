#pragma once

#include <filesystem>

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Between the names that the library takes and hands out and the system's own, which
/// streams, std::filesystem and other programs take. On Windows both have the same text;
/// on Linux the library calls the root Z: and separates by `\`:
///
///     library          Linux, own        library        Linux, own
///     Z:\home\u\a.txt  /home/u/a.txt     sub\a.txt      sub/a.txt
///     /home/u/a.txt    /home/u/a.txt     ..\a.txt       ../a.txt
///
///     std::ifstream in(utl_nativePath(utl_JobFileName(".dat")));
///
/// Threads: any; the current directory must not change meanwhile.

/// The file that the library means by `path`, up to its first zero byte.
///
/// On Linux that is `path` with `/` as its separator, "." and ".." taken out. Where no
/// file is there, but the library finds one under that name, which knows no letter case,
/// it is that file's name on the disk. A name on a drive other than Z:, one of a host
/// (`\\host\a`) and a URL come back with `/` for `\`; nothing is found under it.
///
/// On Windows the bytes are those of the ANSI code page; one that it does not have is
/// replaced as the system's calls replace it. Throws nothing but std::bad_alloc.
KSTUTL_EXPORT std::filesystem::path utl_nativePath(const cow_String& path);

/// The name by which the library means the file `path`: absolute with its drive, or
/// relative like `path`. The separators of a Linux path become `\`. The file system is
/// not asked.
///
/// Throws nex_TextException when the library has no name for it, with the text
///
///     *** Error: The library has no name for the file "a\b.txt".
///
/// which on Linux are names that hold a backslash or end with a dot or a blank, and on
/// Windows those with characters outside the ANSI code page, which the text shows as that
/// page replaces them (`?`).
KSTUTL_EXPORT cow_String utl_fromNativePath(const std::filesystem::path& path);
