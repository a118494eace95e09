#pragma once

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Searches the directories that an environment variable lists, separated by ";", for a
/// file. Stateless; nothing but std::bad_alloc is thrown; resolving the candidates
/// follows utl_FilePath, whose rules on threads hold.
class KSTUTL_EXPORT utl_PathFinder {
 public:
  utl_PathFinder() = delete;

  /// The first existing file `name` in `subDirectory` (may be "") of a directory listed
  /// in `variable`, or "". With PATHS set to "Z:\a;Z:\b":
  ///
  ///     getSubDirPath("PATHS", "bin", "kst", true, true, false)    // Z:\b/bin/kst.exe
  ///
  /// - The parts are joined by "/", whatever the directory ends in: "dir/" gives
  ///   "dir//name". None is put after the directory when `name` begins with "/", not even
  ///   when a `subDirectory` comes in between: "dir" and "bin" give "dirbin//name".
  /// - `tryExe`: where the name does not exist, the name with ".exe" is tried; found,
  ///   it is returned with ".exe", or without when `withoutExe`.
  /// - `mustBeReadable`: a candidate that exists and cannot be read ends the whole
  ///   search with "", also when a later directory holds a readable one.
  /// An unset or empty variable and an empty name give "". Empty list entries are
  /// skipped.
  static cow_String getSubDirPath(const cow_String& variable,
                                  const cow_String& subDirectory, const cow_String& name,
                                  bool mustBeReadable, bool tryExe, bool withoutExe);

  /// getSubDirPath without subdirectory, the result with ".exe". The last flag is kept
  /// for its callers and has no effect.
  static cow_String getPath(const cow_String& variable, const cow_String& name,
                            bool mustBeReadable, bool tryExe, bool extraFlag);
};
