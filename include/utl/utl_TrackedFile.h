#pragma once

#include <cstdint>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "utl/utl_File.h"
#include "utl/utl_FileOffset.h"

class utl_IOTracker;

/// A utl_File that reports itself to the I/O tracker, if there is one: opening, reads,
/// writes, changes of position and closing, in the tracker's table C. Everything else,
/// the exceptions too, is as it is with utl_File. An operation that fails is not
/// reported.
///
///     utl_TrackedFile file(path, utl_FileAccessRead, utl_FileShareDefault);
///     const int count = file.Read(buffer, size);   // a line for it in JOB.ioTotal
///
/// Threads: one object by one thread at a time. REQUIRES: it ends before the library
/// does.
class KSTUTL_EXPORT utl_TrackedFile {
 public:
  /// No file: the empty path, for reading, utl_FileShareReadWrite.
  utl_TrackedFile() = default;
  /// Records the file; does not open it. The tracker gets `path` as it is given.
  utl_TrackedFile(const cow_String& path, utl_FileAccess access, utl_FileSharing sharing);
  /// Closes the file, as utl_File does.
  ~utl_TrackedFile() noexcept(false);
  utl_TrackedFile(const utl_TrackedFile&) = delete;
  utl_TrackedFile& operator=(const utl_TrackedFile&) = delete;

  // As the operations of utl_File. Those that replace one file by another are missing.

  void Open(const cow_String& path, utl_FileAccess access, utl_FileSharing sharing);
  void Init();
  void Seek(const utl_FileOffset& offset);
  utl_FileOffset Location() const;
  void Flush();
  int Read(char* buffer, int count);
  int Write(const char* buffer, int count);
  int WriteShortAllowed(const char* buffer, int count);
  utl_FileOffset FileSize() const;
  /// Its rewriting of the last bytes is not reported.
  void Extend(const utl_FileOffset& size);

  // The rest is implementation.

 private:
  utl_IOTracker* Tracker() const;
  utl_IOTracker* TrackerOfOpenFile() const;
  void ReportWrite(int bytes, double seconds);
  std::int64_t Key() const { return reinterpret_cast<std::intptr_t>(this); }

  cow_String path_;
  utl_File file_;
  mutable bool isReported_ = false;  // that it is open; const operations open it, too
};
