#pragma once

// Texts of the logs, built piece by piece.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The text of one or more lines, with numbers as printf would write them in the "C"
/// locale.
class utl_LineText {
 public:
  utl_LineText& Text(std::string_view text) {
    text_ += text;
    return *this;
  }
  /// As "%d".
  utl_LineText& Number(std::int32_t number) { return Converted(number); }
  /// As "%.*f". REQUIRES: `digits` is at most 6.
  utl_LineText& Fixed(double number, int digits) {
    return Converted(number, std::chars_format::fixed, digits);
  }
  /// As "%*s".
  utl_LineText& Right(std::string_view text, std::size_t width) {
    if (text.size() < width) {
      text_.append(width - text.size(), ' ');
    }
    return Text(text);
  }

  operator std::string_view() const { return text_; }

 private:
  // A sign, a double's 309 digits, a point, six more.
  static constexpr std::size_t kLongestNumber = 317;

  template <class... Value>
  utl_LineText& Converted(Value... value) {
    char text[kLongestNumber];
    return Text({text, std::to_chars(text, text + sizeof text, value...).ptr});
  }

  std::string text_;
};
