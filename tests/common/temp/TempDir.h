#pragma once

#include <string>

/// A directory for one test, removed with everything in it at the end.
///
/// Its names work with both the C++ standard library and the Windows calls, on both
/// targets: "/tmp/kst_..." natively, "Z:\tmp\kst_..." under Wine.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  /// The directory, absolute, without a separator at the end.
  const std::string& Path() const { return path_; }

  /// The name of `name` in the directory; nothing is created.
  std::string File(const std::string& name) const;

  /// The directory as the library shows it on both targets: "Z:\tmp\kst_...".
  std::string ShownPath() const;

 private:
  std::string path_;
};

/// Creates or replaces `path` with exactly these bytes. Throws
/// std::runtime_error when that fails.
void WriteWholeFile(const std::string& path, const std::string& bytes);

/// All bytes of `path`. Throws std::runtime_error when it cannot be read.
std::string ReadWholeFile(const std::string& path);

/// Whether a file or directory of this name exists.
bool FileExists(const std::string& path);
