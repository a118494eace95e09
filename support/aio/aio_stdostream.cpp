#include "aio/aio_stdostream.h"

#include <new>
#include <ostream>

aio_stdostream::aio_stdostream(std::ostream& out) : out_(out), good_(out.good()) {}

void aio_stdostream::write(const char* data, int length) {
  if (length > 0) {
    Do([&] { out_.write(data, length); });
  }
}

void aio_stdostream::flush() {
  Do([&] { out_.flush(); });
}

// The std::ostream may be told to throw what goes wrong.
template <class Operation>
void aio_stdostream::Do(Operation operation) {
  if (!good_) {
    return;
  }
  try {
    operation();
    good_ = out_.good();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
    good_ = false;
  }
}
