// Texts of any kind: the parts of a URL agree with each other and nothing throws.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "utl/utl_UrlParser.h"

namespace {

void Check(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const cow_String s(reinterpret_cast<const char*>(data), static_cast<int>(size));
  Check(utl_UrlParser::IsUrl(s) == (utl_UrlParser::GetScheme(s) == "kstrdb"));
  Check(utl_UrlParser::HasHost(s) == !utl_UrlParser::GetHost(s).IsEmpty());
  Check(utl_UrlParser::HasPort(s) == !utl_UrlParser::GetPort(s).IsEmpty());
  Check(utl_UrlParser::HasPath(s) == !utl_UrlParser::GetPath(s).IsEmpty());
  return 0;
}
