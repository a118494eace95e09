#include "utl/utl_NativePath.h"

#include <string>

#include "atr/atr_translate.h"
#include "nex/nex_TextException.h"
#include "platform/platform.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_NativePath";

}  // namespace

std::filesystem::path utl_nativePath(const cow_String& path) {
  return platform::NativePath(path.c_str());
}

cow_String utl_fromNativePath(const std::filesystem::path& path) {
  std::string name;
  if (!platform::NameOf(path, name)) {
    atr_translate text("*** Error: The library has no name for the file \"%1$s\".");
    atr_SubstituteFormat(text, 1, name.c_str());
    nex_TextException(text.Result()).Throw(kSource);
  }
  return cow_String(name);
}
