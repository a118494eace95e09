// aio_ofstream: an output stream into a file.

#pragma once

#include <cstdint>
#include <string>

#include "aio/aio_ostream.h"
#include "KSTutl_export.h"

/// Writes a file anew. Bytes are written as given; line ends are the caller's. Up to 64
/// KiB are buffered, until `flush`, `close` or the destructor.
///
///     aio_ofstream out("C:\\work\\beam.txt");
///     out.write("mass 3.\n", 8);
///     out.close();
///     if (!out.good()) { ... }
///
/// The stream belongs to the process that opened it. In a child of `fork` its buffered
/// bytes are dropped and writing fails, so that the parent's bytes reach the file once.
///
/// Threads: used by one thread at a time.
class KSTUTL_EXPORT aio_ofstream final : public aio_ostream {
 public:
  /// Creates the file `path`, or empties it. When that fails the stream is not open and
  /// not good. REQUIRES: `path` is not null.
  explicit aio_ofstream(const char* path);
  explicit aio_ofstream(const std::string& path) : aio_ofstream(path.c_str()) {}

  /// Closes the file; a failure is not reported.
  ~aio_ofstream() override;

  /// Fails when the file is not open, or when buffered bytes cannot be written to it, for
  /// example because the disk is full.
  void write(const char* data, int length) override;

  void flush() override;

  bool good() const override { return good_; }

  /// Flushes and closes the file; `good` shows a failure.
  void close();

  bool is_open() const { return descriptor_ >= 0; }

  // The rest is implementation.

 private:
  std::string held_;
  std::uint32_t process_;  // the one that opened it
  int descriptor_;
  bool good_;
};
