#pragma once

// One number as text, in the "C" locale whatever the process's locale is.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

/// Puts a point after a text of `length` characters, which must have room for it, removes
/// a blank at its front if there is one, and returns the new length.
std::size_t utl_addPoint(char* text, std::size_t length);

/// Formats a number step by step, with the result of printf.
class utl_NumberText {
 public:
  /// As "%.*g"; as "%g" when `precision` is negative.
  utl_NumberText(double value, int precision);
  /// The digits of a whole number, with its sign.
  explicit utl_NumberText(std::string_view digits);

  utl_NumberText(const utl_NumberText&) = delete;
  utl_NumberText& operator=(const utl_NumberText&) = delete;

  /// Pads to a field: right-justified in `width` characters, left-justified in -`width`.
  /// Throws std::bad_alloc for a field that there is no memory for.
  void Justify(int width) {
    if (width != 0) {
      Pad(width);
    }
  }

  /// Does what utl_Stream::FixNumericString does. Here that is only the point: exponents
  /// have two digits, or three that do not begin with 0.
  void AddPoint() {
    if (!hasPoint_) {
      length_ = utl_addPoint(text_, length_);
    }
  }

  std::string_view Text() const { return {text_, length_}; }

 private:
  bool FormatWhole(double value, int precision);
  bool FormatDecimals(double value, int precision);
  void FormatAny(double value, int precision);
  void Take(char* begin, bool isNegative);
  void Pad(int width);

  // A double never has more significant digits, so a higher precision changes nothing.
  static constexpr int kMaxPrecision = 800;

  char local_[kMaxPrecision + 32];
  std::unique_ptr<char[]> large_;
  char* text_ = local_;
  std::size_t length_ = 0;
  bool hasPoint_ = false;  // or an exponent
};
