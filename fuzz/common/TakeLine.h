#pragma once

#include <string_view>

#include "cow/cow_String.h"

/// Takes the text up to the next "\n", and that, off `input`.
inline cow_String TakeLine(std::string_view& input) {
  const std::size_t end = input.find('\n');
  cow_String line(input.substr(0, end));
  input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
  return line;
}
