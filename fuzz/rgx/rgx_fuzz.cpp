// Patterns, subjects and replacements of any kind: nothing but the stated exceptions.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/common/TakeLine.h"
#include "nex/nex_TextException.h"
#include "rgx/rgx_funcs.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  // A limit that keeps a single run short.
  const cow_String pattern = "(*LIMIT_MATCH=10000)" + TakeLine(input);
  const cow_String replacement = TakeLine(input);
  const cow_String subject(input);
  try {
    const rgx_ReIterator found = rgx_match(pattern, subject);
    for (int n = -3; n <= found.GroupCount(); ++n) {
      found.NthString(n);
    }
    rgx_subn(pattern, replacement, subject, 100);
    rgx_split(pattern, subject);
  } catch (const nex_TextException&) {
    // A malformed pattern, a limit, or a split that would not end.
  }
  return 0;
}
