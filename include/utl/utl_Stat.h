#pragma once

#include <cstdint>

#include "cow/cow_String.h"
#include "nex/nex_TextException.h"
#include "omi/omi_SystemErrorCode.h"

/// The status of a file or directory, read from the system in one call when the object
/// is made, and kept in plain members. That a name does not exist is an answer, not an
/// error: `record` is then null and all other members but `error` are zero.
///
/// A FIFO or a device is not opened, so that nothing waits: on Linux it has a status, of
/// size 0; under Wine it has none, which throws.
///
/// Threads: a plain value.
///
///     utl_Stat status("C:\\work\\job.dat");
///     if (status.record != nullptr && !status.isDirectory) use(status.size);
class KSTUTL_EXPORT utl_Stat {
 public:
  /// The status of the file or directory of that name. Throws nex_SystemErrorException
  /// when the status cannot be read for any other reason than code 2, file not found: a
  /// missing directory on the way (code 3) throws.
  explicit utl_Stat(const cow_String& name);
  /// The same; a text is never taken for a handle.
  explicit utl_Stat(const char* name) : utl_Stat(cow_String(name)) {}
  /// The status of an open descriptor of the run time. Throws nex_SystemErrorException,
  /// with the run time's error number for a bad descriptor.
  explicit utl_Stat(int descriptor);
  /// The status of an open handle of the system, which stays open. Throws
  /// nex_SystemErrorException.
  explicit utl_Stat(void* handle);

  /// A copy's `record` points into the copy.
  utl_Stat(const utl_Stat& other) noexcept;
  utl_Stat& operator=(const utl_Stat& other) noexcept;

  /// Throws nex_SystemErrorException with `error` when the status was not obtained.
  void ThrowIfFileNotFound() const;

  // The order of the members is part of the interface.

  bool flag = false;            ///< For the caller; the library leaves it false.
  std::uint64_t size = 0;       ///< Bytes.
  std::uint64_t fileIndex = 0;  ///< The file's number on its volume.
  std::uint32_t linkCount = 0;
  /// Seconds since 1970-01-01 00:00 UTC, to the nearest second.
  std::int32_t accessTime = 0;
  std::int32_t writeTime = 0;
  /// When the file was made. Where the system does not keep that (Wine, some file systems
  /// of Linux), the earlier of its last write and its last change.
  std::int32_t creationTime = 0;
  bool isDirectory = false;
  /// The system's "normal" attribute. It is given only to a file that has no other
  /// attribute, so it is false for an ordinary file that waits for its backup.
  bool isNormal = false;
  /// Whether the status was obtained: null, or the address of `size`.
  const std::uint64_t* record = nullptr;
  /// Why the status was not obtained; of kind run time and number 0 otherwise.
  omi_SystemErrorCode error;

  // The rest is implementation.

 private:
  void ReadFrom(void* handle);
};

/// Status errors for callers' own use; utl_Stat itself throws nex_SystemErrorException.
class KSTUTL_EXPORT utl_StatException : public nex_TextException {
 public:
  explicit utl_StatException(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};

class KSTUTL_EXPORT utl_StatCantAccessFile : public utl_StatException {
 public:
  explicit utl_StatCantAccessFile(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};

class KSTUTL_EXPORT utl_StatUnknownSystemError : public utl_StatException {
 public:
  explicit utl_StatUnknownSystemError(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};
