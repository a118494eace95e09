// Any text through the decoder: every kernel reads it alike, and what a strict decoding
// accepts is what encoding gives back, up to the padding.

#include <cstdint>
#include <new>
#include <optional>
#include <string_view>

#include "fuzz/common/Require.h"
#include "utl/impl/base64/utl_base64_codec.h"
#include "utl/utl_base64.h"

namespace {

void* Allocate(std::size_t size) {
  return ::operator new(size);
}

std::optional<cow_String> Decoded(const utl_Base64Kernel& kernel, std::string_view bytes,
                                  bool strict) {
  cow_String text(bytes);
  try {
    return utl_Base64Codec(kernel, Allocate).Decode(text, strict);
  } catch (const utl_Base64CodecError&) {
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  for (const bool strict : {false, true}) {
    const std::optional<cow_String> plain =
        Decoded(utl_base64Kernels()[0], bytes, strict);
    for (const utl_Base64Kernel& kernel : utl_base64Kernels()) {
      Require(!kernel.available || Decoded(kernel, bytes, strict) == plain);
    }
  }
  cow_String all(bytes);
  for (const bool lineBreaks : {false, true}) {
    cow_String text = utl_base64Encode(all, lineBreaks);
    Require(size > 57 || utl_base64Decode(text, true) == all);
  }
  return 0;
}
