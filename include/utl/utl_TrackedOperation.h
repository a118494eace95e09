#pragma once

#include <cstdint>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "omi/omi_Timer.h"

/// What a tracked operation does to its file.
enum utl_TrackedKind : int {
  utl_TrackedRead = 0,
  utl_TrackedWrite = 1,
};

/// One read or write of a file by other means than utl_TrackedFile, reported to the I/O
/// tracker when the object ends, with the time since it was made. An operation that an
/// exception ends is not reported. Without a tracker it costs the making of the object.
///
///     {
///       utl_TrackedOperation writing(utl_TrackedWrite, path);
///       file.saveChangesAtomically();
///       writing.SetBytes(utl_Stat(path).size);
///     }
///
/// Threads: one object by one thread.
class KSTUTL_EXPORT utl_TrackedOperation {
 public:
  /// Makes sure that the tracker's holder exists. `path` is kept as it is given.
  utl_TrackedOperation(utl_TrackedKind kind, const cow_String& path);
  /// Throws nothing: a report for which there is no memory is left out.
  ~utl_TrackedOperation();
  utl_TrackedOperation(const utl_TrackedOperation&) = delete;
  utl_TrackedOperation& operator=(const utl_TrackedOperation&) = delete;

  /// How many bytes were transferred; 0 unless this is called.
  void SetBytes(std::uint64_t bytes) { bytes_ = bytes; }

  // The rest is implementation.

 private:
  void Report(double seconds) const;

  utl_TrackedKind kind_;
  cow_String path_;
  std::uint64_t bytes_ = 0;
  int exceptions_;  // on their way when the operation began
  omi_Timer timer_;
};
