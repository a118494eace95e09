#include "utl/impl/text/utl_leadingInt.h"

#include <algorithm>

#include "utl/impl/text/utl_ascii.h"

int utl_leadingInt(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  unsigned number = 0;
  for (const char c : text) {
    if (!utl_isDigit(c)) {
      break;
    }
    number = 10 * number + static_cast<unsigned>(c - '0');
  }
  return static_cast<int>(isNegative ? 0 - number : number);
}
