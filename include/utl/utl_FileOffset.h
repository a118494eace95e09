#pragma once

#include <cstdint>

#include "KSTutl_export.h"

/// A byte offset in a file, or a file's size: signed, 64 bits, eight bytes in memory.
///
/// It converts from and to std::int64_t, so arithmetic and comparison are those of the
/// integer. Convert to or from a double by way of the integer: a double is exact for
/// whole numbers up to 2^53 only.
///
/// Threads: a plain value.
///
///     utl_FileOffset end = file.FileSize();
///     file.Seek(end - 16);
class utl_FileOffset {
 public:
  /// Offset 0.
  constexpr utl_FileOffset() noexcept = default;
  constexpr utl_FileOffset(std::int64_t bytes) noexcept : bytes_(bytes) {}
  constexpr operator std::int64_t() const noexcept { return bytes_; }

  /// REQUIRES (both): the result fits 64 bits.
  constexpr utl_FileOffset& operator+=(std::int64_t bytes) noexcept {
    bytes_ += bytes;
    return *this;
  }
  constexpr utl_FileOffset& operator-=(std::int64_t bytes) noexcept {
    bytes_ -= bytes;
    return *this;
  }

  /// This offset minus `other`, in bytes. Throws nex_AssertException with the text
  /// "d >= INT_MIN && d <= INT_MAX" when the difference does not fit 32 bits.
  ///
  ///     utl_FileOffset(5000000010).DiffAsInt32(5000000000);   // 10
  KSTUTL_EXPORT int DiffAsInt32(utl_FileOffset other) const;

  // The rest is implementation.

 private:
  std::int64_t bytes_ = 0;
};
