#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Directory names as strings: their trailing `\` and whether they exist. Stateless;
/// any thread may call. Nothing throws.
class KSTUTL_EXPORT utl_DirPathUtils {
 public:
  utl_DirPathUtils() = delete;

  /// Whether `path` exists and is a directory; false also for a path whose status
  /// cannot be read, whatever the reason.
  static bool CheckDirectory(const cow_String& path);

  /// `path` without one trailing `\`. A `/` is never trimmed. A drive root loses
  /// its backslash like any other path, `C:\` gives "C:", and callers that want
  /// the root add it again.
  static cow_String TrimSeparator(const cow_String& path);

  /// `path` with a trailing `\`; unchanged when it has one. A trailing `/` does not
  /// count: "dir/" gives `dir/\`. The empty string gives `\`.
  static cow_String AddSeparator(const cow_String& path);
};
