#pragma once

#include <windows.h>

#include <string>

/// While it lives, this many bytes of any disk are free to the caller and on the drive.
/// One object at a time.
///
///     FakeDiskSpace full(0, 4096);
class FakeDiskSpace {
 public:
  FakeDiskSpace(ULONGLONG toCaller, ULONGLONG onDrive);
  ~FakeDiskSpace();
  FakeDiskSpace(const FakeDiskSpace&) = delete;
  FakeDiskSpace& operator=(const FakeDiskSpace&) = delete;

  /// The directory that was asked about last.
  const std::string& Asked() const;
};
