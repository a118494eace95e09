#include "utl/utl_FileOffset.h"

#include <climits>

#include "nex/nex_AssertException.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_FileOffset";

}  // namespace

int utl_FileOffset::DiffAsInt32(utl_FileOffset other) const {
  std::int64_t d = 0;
  const bool overflow = __builtin_sub_overflow(bytes_, other.bytes_, &d);
  if (overflow || d < INT_MIN || d > INT_MAX) {
    nex_AssertException("d >= INT_MIN && d <= INT_MAX").Throw(kSource);
  }
  return static_cast<int>(d);
}
