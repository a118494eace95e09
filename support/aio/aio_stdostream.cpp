#include "aio/aio_stdostream.h"

#include <ostream>

namespace {

// Whether the operation left the stream good, which may have been set to throw.
template <class Operation>
bool Succeeds(std::ostream& out, Operation operation) {
  try {
    operation();
    return out.good();
  } catch (...) {
    return false;
  }
}

}  // namespace

aio_stdostream::aio_stdostream(std::ostream& out) : out_(out), good_(out.good()) {}

void aio_stdostream::write(const char* data, int length) {
  if (good_ && length > 0) {
    good_ = Succeeds(out_, [&] { out_.write(data, length); });
  }
}

void aio_stdostream::flush() {
  if (good_) {
    good_ = Succeeds(out_, [&] { out_.flush(); });
  }
}
