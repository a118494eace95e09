#pragma once

#include "cow/cow_String.h"
#include "utl/utl_FilePath.h"

/// Makes the paths of the entries of one directory: for each name the path that
/// utl_FilePath(prefix + name, "") is. That is several times faster than resolving each
/// whole path, and the paths share the text that they have in common.
///
/// Threads: one object by one thread at a time.
class utl_EntryPaths {
 public:
  /// `prefix` is the name of the directory and a separator.
  explicit utl_EntryPaths(cow_String prefix);

  utl_FilePath Make(const char* name);

 private:
  cow_String prefix_;
  bool prefixIsFinal_;    // it stays as it is when a path is resolved
  cow_String extension_;  // the latest name's; the next mostly has the same
};
