// aio_ostream: where text is written to.

#pragma once

#include "KSTutl_export.h"

/// An output stream of bytes. A stream that has failed stays failed: `good` is false and
/// further bytes are dropped. Nothing but `std::bad_alloc` is thrown.
///
/// Threads: used by one thread at a time.
class KSTUTL_EXPORT aio_ostream {
 public:
  aio_ostream() = default;
  virtual ~aio_ostream();
  aio_ostream(const aio_ostream&) = delete;
  aio_ostream& operator=(const aio_ostream&) = delete;

  /// Writes `length` bytes, zero bytes included. A length of 0 or less writes nothing.
  virtual void write(const char* data, int length) = 0;

  /// Passes on what the stream has buffered.
  virtual void flush() = 0;

  /// False once a write, a flush or the opening has failed.
  virtual bool good() const = 0;
};
