// Any text as a mask: it is read or refused, and what was read is written and read back
// the same.

#include <cstdint>
#include <string_view>

#include "fuzz/common/Require.h"
#include "fuzz/common/TakeLine.h"
#include "nex/nex_AssertException.h"
#include "utl/utl_BlkBitUtils.h"

namespace {

// A run of very many words takes time and memory, as it should.
bool HasLongRun(std::string_view text) {
  constexpr int kMostDigits = 3;
  bool isCount = false;
  int digits = 0;
  for (const char c : text) {
    isCount = c == ':' || (isCount && c != '#');
    digits = isCount && c >= '0' && c <= '9' ? digits + 1 : 0;
    if (digits > kMostDigits) {
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  cow_List<cow_String> pieces;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  if (HasLongRun(rest)) {
    return 0;
  }
  while (!rest.empty()) {
    pieces.Append(TakeLine(rest));
  }
  omi_BlkBitVect mask;
  try {
    utl_BlkBitUtils::GetMaskFromString(pieces, mask);
  } catch (const nex_AssertException&) {
  }
  omi_BlkBitVect back;
  utl_BlkBitUtils::GetMaskFromString(utl_BlkBitUtils::GetMaskString(mask), back);
  const std::int64_t last = omi_BlkBitVectTrav(mask).Last();
  Require(mask.Count() == back.Count() && last == omi_BlkBitVectTrav(back).Last());
  for (std::int64_t cell = 0; cell <= last / 32; ++cell) {
    const auto i = static_cast<std::uint64_t>(cell);
    Require(mask.Cell(i) == back.Cell(i));
  }
  return 0;
}
