#include "utl/impl/text/utl_NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

// Whole numbers below 10 to the power of the index, which a double holds exactly.
constexpr std::array<double, 16> kPowersOfTen = {
    1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

constexpr int kDefaultPrecision = 6;

// Whether the value is whole and has at most `precision` digits, so that it is written
// like an integer. False for -0, which keeps its sign.
bool IsShortWhole(double value, int precision) {
  const auto digits = static_cast<std::size_t>(std::clamp(precision, 1, 15));
  return std::fabs(value) < kPowersOfTen[digits] &&
         value == static_cast<double>(static_cast<std::int64_t>(value)) &&
         (value != 0 || !std::signbit(value));
}

}  // namespace

template <class... Value>
void utl_NumberText::Format(Value... value) {
  const auto end = std::to_chars(local_, local_ + sizeof local_, value...).ptr;
  length_ = static_cast<std::size_t>(end - local_);
}

utl_NumberText::utl_NumberText(double value, int precision) {
  if (precision < 0) {
    precision = kDefaultPrecision;
  }
  onlyDigits_ = IsShortWhole(value, precision);
  if (onlyDigits_) {
    Format(static_cast<std::int64_t>(value));
  } else {
    Format(value, std::chars_format::general, std::min(precision, kMaxPrecision));
  }
}

utl_NumberText::utl_NumberText(int value) {
  Format(value);
}

utl_NumberText::utl_NumberText(unsigned int value) {
  Format(value);
}

utl_NumberText::utl_NumberText(std::int64_t value) {
  Format(value);
}

utl_NumberText::utl_NumberText(std::uint64_t value) {
  Format(value);
}

void utl_NumberText::Pad(int width) {
  const auto field = static_cast<std::size_t>(std::abs(std::int64_t{width}));
  if (field <= length_) {
    return;
  }
  const std::size_t blanks = field - length_;
  if (field >= sizeof local_) {
    large_ = std::make_unique_for_overwrite<char[]>(field + 1);  // and a point
    text_ = large_.get();
  }
  std::memmove(text_ + (width > 0 ? blanks : 0), local_, length_);
  std::memset(text_ + (width > 0 ? 0 : length_), ' ', blanks);
  length_ = field;
}

void utl_NumberText::AddPoint() {
  const auto has = [this](char c) { return std::memchr(text_, c, length_) != nullptr; };
  if (onlyDigits_ || (!has('.') && !has('e'))) {
    length_ = utl_addPoint(text_, length_);
  }
}

std::size_t utl_addPoint(char* text, std::size_t length) {
  text[length] = '.';
  if (text[0] != ' ') {
    return length + 1;
  }
  std::memmove(text, text + 1, length);
  return length;
}
