// Texts of any kind as paths: the parts are those of the rules coded a second time.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/common/Require.h"
#include "utl/FilePathParserModel.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path(reinterpret_cast<const char*>(data), size);
  Require(Parsed(cow_String(path)) == FilePathParserModel(path).All());
  return 0;
}
