// aio_stdostream: an output stream of the standard library as an aio_ostream.

#pragma once

#include <iosfwd>

#include "aio/aio_ostream.h"
#include "KSTutl_export.h"

/// Writes to a std::ostream, so that code that takes an aio_ostream can write anywhere:
///
///     aio_stdostream standardOutput(std::cout);
///     utl_Stream out(standardOutput, 80, 6, 15);
///     out << "mass " << 3.0 << endl;
///
/// Any error of the std::ostream, an exception included, is a failure of this stream.
/// Nothing throws.
///
/// Threads: used by one thread at a time.
class KSTUTL_EXPORT aio_stdostream final : public aio_ostream {
 public:
  /// `out` is not owned. One that has failed already makes this one fail.
  explicit aio_stdostream(std::ostream& out);

  void write(const char* data, int length) override;
  /// Flushes the std::ostream, which the destructor does not.
  void flush() override;
  bool good() const override { return good_; }

  // The rest is implementation.

 private:
  std::ostream& out_;
  bool good_;
};
