#include <fmt/format.h>

#include <cstddef>

#include "common/Tool.h"

namespace {

unsigned Byte(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// How many bytes the character at the front has by its first byte, 0 for none.
std::size_t LengthOf(unsigned first) {
  if (first < 0x80) {
    return 1;
  }
  if (first < 0xC2 || first > 0xF4) {
    return 0;
  }
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

// The length of the character at the front (RFC 3629), 0 where there is none or where it
// is a control character.
std::size_t PrintableLength(std::string_view text) {
  const unsigned first = Byte(text, 0);
  const unsigned second = Byte(text, 1);
  const std::size_t length = LengthOf(first);
  for (std::size_t i = 1; i < length; ++i) {
    if ((Byte(text, i) & 0xC0) != 0x80) {
      return 0;
    }
  }
  const unsigned third = Byte(text, 2);
  // Marks, embeddings, overrides and isolates of directions, and ends of lines: U+061C,
  // U+200E, U+200F, U+2028 to U+202E, U+2066 to U+2069.
  const bool isDirection =
      (first == 0xD8 && second == 0x9C) ||
      (first == 0xE2 && second == 0x80 &&
       (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE))) ||
      (first == 0xE2 && second == 0x81 && third >= 0xA6 && third <= 0xA9);
  const bool isControl =
      first < 0x20 || first == 0x7F || (first == 0xC2 && second < 0xA0) || isDirection;
  // Too long a form of a shorter character, half of a pair, or beyond the last character.
  const bool isNone =
      (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
      (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
  return isControl || isNone ? 0 : length;
}

}  // namespace

std::string Shown(std::string_view text) {
  std::string shown;
  while (!text.empty()) {
    const std::size_t length = PrintableLength(text);
    if (length > 0) {
      shown += text.substr(0, length);
    } else {
      shown += fmt::format("\\x{:02x}", Byte(text, 0));
    }
    text.remove_prefix(length > 0 ? length : 1);
  }
  return shown;
}
