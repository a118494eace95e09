#pragma once

/// While it lives, no file of this process grows beyond `bytes`, as if the disk were full
/// there; that includes standard output, where that is a file.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(int bytes);
  ~FileSizeLimit();
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  /// Whether the system has such limits.
  static bool IsAvailable();
};
