#include "omi/omi_strtoSizeT.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <system_error>

std::size_t omi_strtoSizeT(const char* text) {
  std::size_t number = 0;
  const std::from_chars_result result =
      std::from_chars(text, text + std::strlen(text), number);
  return result.ec == std::errc::result_out_of_range
             ? std::numeric_limits<std::size_t>::max()
             : number;
}
