#pragma once

#include <string_view>

/// The decimal number that a text begins with, after blanks and a sign, as `atoi` reads
/// it; 0 where there is none. A number that does not fit an int is cut to its lowest 32
/// bits, on every target: "4294967299" is 3, "2147483648" is -2147483648.
int utl_leadingInt(std::string_view text);
