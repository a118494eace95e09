// Patterns, subjects and replacements of any kind: nothing but the stated exceptions.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "nex/nex_TextException.h"
#include "rgx/rgx_funcs.h"

namespace {

// Takes the text up to the next "\n" off `input`.
cow_String Next(std::string_view& input) {
  const std::size_t end = input.find('\n');
  const cow_String line(input.substr(0, end));
  input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
  return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  // A limit that keeps a single run short.
  const cow_String pattern = "(*LIMIT_MATCH=10000)" + Next(input);
  const cow_String replacement = Next(input);
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
