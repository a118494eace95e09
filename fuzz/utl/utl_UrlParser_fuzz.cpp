// Texts of any kind: the parts of a URL are those of the patterns that define them, and
// nothing throws but the check for a scheme that is no pattern.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/common/Require.h"
#include "fuzz/common/TakeLine.h"
#include "nex/nex_TextException.h"
#include "utl/UrlPatterns.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  const cow_String text(input);
  Require(PartsOfUrl(text) == PartsByPatterns(text));
  const cow_String scheme = TakeLine(input);
  try {
    utl_UrlParser::IsScheme(cow_String(input), scheme);
  } catch (const nex_TextException&) {
  }
  return 0;
}
