#pragma once

// Kinds of characters in ASCII, whatever the process's locale is.

constexpr bool utl_isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr bool utl_isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// A capital letter as a small one; any other character as it is.
constexpr char utl_smallLetter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
