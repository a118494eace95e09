#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Splits a path string into its parts without touching the file system.
///
/// A path is read in one of two styles. Windows style separates by `\` only and
/// may start with a drive ("C:") or a host (`\\server`); Unix style separates by
/// `/` only. A path that holds a `/` is never Windows style; a plain name such
/// as "file.txt" is both. All functions are stateless, may be called from any
/// thread, work on bytes and throw nothing but std::bad_alloc: what a path does
/// not have is false, the NUL character or an empty string.
///
///     path                       Drive  Host    DirName         BaseName  Extension
///     C:\dir\sub\file.tar.gz     'c'    ""      \dir\sub        file.tar  gz
///     \\server\share\a.txt       NUL    server  \share          a         txt
///     /usr/local/lib/libx.so.1   NUL    ""      /usr/local/lib  libx.so   1
///     .profile                   NUL    ""      ""              ""        profile
class KSTUTL_EXPORT utl_FilePathParser {
 public:
  utl_FilePathParser() = delete;

  /// Whether `path`, up to its first zero byte, holds none of < > " / | and no
  /// control character (codes 1 to 31). True for the empty string.
  static bool IsWindowsStyle(const cow_String& path);

  /// Whether `path` is to be read with `/` separators: it holds a `/`, or it
  /// holds no `\` and has no drive.
  static bool IsUnixStyle(const cow_String& path);

  /// Whether `path` is Windows style and starts with a drive letter.
  static bool HasDrive(const cow_String& path);

  /// The drive letter in lower case, or NUL. The style is not tested:
  /// "C:/dir" has drive 'c' although HasDrive is false. The letter's top bit is
  /// ignored, so the byte 0xC3 before ":" is drive 'c'; callers rely on it.
  static char Drive(const cow_String& path);

  /// Whether `path` is Windows style and starts with a non-empty host.
  static bool HasHost(const cow_String& path);

  /// The host of `\\host\...`, or "". It needs the backslash after it: `\\server`
  /// alone has none. The style is not tested.
  static cow_String Host(const cow_String& path);

  /// Whether the path, less its drive or host, holds a separator of its style;
  /// false for a path of neither style.
  static bool HasDirName(const cow_String& path);

  /// The path, less its drive or host, up to but without its last separator. Empty
  /// for `C:\file`, whose only separator comes first. A path that is not
  /// Windows style is read as Unix style.
  static cow_String DirName(const cow_String& path);

  /// Whether the last component has text other than an extension: false for ".profile",
  /// for a path that ends in a separator and for a path of neither style.
  static bool HasBaseName(const cow_String& path);

  /// The last component up to its last dot ("a.tar.gz" gives "a.tar"). A path that
  /// is not Windows style is read as Unix style.
  static cow_String BaseName(const cow_String& path);

  /// Whether the last component holds a dot; false for a path of neither style.
  static bool HasExtension(const cow_String& path);

  /// The last component after its last dot, possibly empty. A path that is not
  /// Windows style is read as Unix style.
  static cow_String Extension(const cow_String& path);
};
