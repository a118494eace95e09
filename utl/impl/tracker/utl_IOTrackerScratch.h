#pragma once

// Which files lie in the scratch directory.

#include <string>
#include <string_view>

/// The scratch directory, if there is one. Names are compared as texts, without regard to
/// the case of ASCII letters; the file system is not asked.
///
/// Threads: any. The process's current directory must not change meanwhile.
class utl_IOTrackerScratch {
 public:
  /// A relative directory is taken from the current one. An empty name is no directory.
  explicit utl_IOTrackerScratch(std::string_view directory);

  /// Whether `path` lies in the directory or below. A relative path is taken from the
  /// current directory.
  bool Holds(std::string_view path) const;

 private:
  std::string directory_;
};
