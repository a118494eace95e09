#pragma once

#include <memory>

#include "aio/aio_ostrstream.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Joins many pieces into one long text. Up to 991 bytes are held in one string, so that
/// short texts need no further memory; from 992 bytes on a memory stream takes over, and
/// appending stays cheap however long the text grows. The text never moves back, not even
/// by Erase.
///
/// Threads: one object is used by one thread at a time.
///
///     utl_Catenator line;
///     line.Cat("node ", 5).Cat(number, digits);
///     cow_String text = line.GetString();
class KSTUTL_EXPORT utl_Catenator {
 public:
  /// Throws std::bad_alloc, here and everywhere, when there is no memory.
  utl_Catenator();
  ~utl_Catenator();
  utl_Catenator(const utl_Catenator&) = delete;
  utl_Catenator& operator=(const utl_Catenator&) = delete;

  /// Appends `length` bytes, zero bytes included; a length of 0 or less appends nothing.
  utl_Catenator& Cat(const char* text, int length) {
    if (overflow_) {
      overflow_->write(text, length);
    } else {
      CatToBuffer(text, length);
    }
    return *this;
  }

  /// Forgets the text; what is appended next is then all of it. The string's memory is
  /// kept for that, the stream's is released.
  utl_Catenator& Erase();

  /// The text so far; may be called again, and appending may go on.
  ///
  /// Once the text has reached 992 bytes it is given up to its first zero byte; before
  /// that it is given whole, zero bytes included.
  /// Up to 496 bytes are copied, so that a short text does not keep the large string
  /// alive. Throws std::length_error when the result would be longer than 2,147,483,647
  /// bytes.
  cow_String GetString() const;

  // The rest is implementation.

 private:
  void CatToBuffer(const char* text, int length);

  cow_String buffer_;                         // all text, or empty once there is...
  std::unique_ptr<aio_ostrstream> overflow_;  // ...the stream, which then has all
};
