#pragma once

#include <cstdint>

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// The free space of the disk that holds a path.
///
///     utl_DiskAttributes disk("D:\\data\\job1");   // asks about D:\ .
///     if (disk.GetFreeDiskSpace() < needed) ...
///
/// A value that keeps nothing but the path to ask about. Threads: a plain value.
class KSTUTL_EXPORT utl_DiskAttributes {
 public:
  /// Chooses the path to ask about; nothing is asked of the disk yet. It is `path` cut
  /// after its drive, with a backslash: "D:\" for "D:\data". A path without a drive that
  /// stays so when it is made absolute ("\\host\share\x") is taken as it is.
  ///
  /// REQUIRES: `path` is absolute. Where to cut is found in the absolute form of `path`,
  /// but `path` itself is cut: with a current directory on drive D, "data\job1" becomes
  /// "da\", whose space can be queried only if there is such a directory.
  ///
  /// Throws std::bad_alloc only. Reads the environment and the current directory, as
  /// utl_FilePath does.
  explicit utl_DiskAttributes(const cow_String& path);
  ~utl_DiskAttributes();
  utl_DiskAttributes(const utl_DiskAttributes&) = default;
  utl_DiskAttributes& operator=(const utl_DiskAttributes&) = default;

  /// The bytes that the caller may still write; quotas can make them fewer than are free.
  /// Asks the system each time. Throws a nex_TextException with the system's error number
  /// and the path when that fails.
  ///
  /// With the debug flag "utl" at 3 or more it prints, in bytes, kbytes or MB, the
  /// drive's free space and the caller's part of it.
  std::uint64_t GetFreeDiskSpace() const;

  // The rest is implementation.

 private:
  cow_String path_;
};
