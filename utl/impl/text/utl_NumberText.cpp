#include "utl/impl/text/utl_NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "utl/impl/text/utl_digits.h"

namespace {

// Whole numbers below 10 to the power of the index, which a double holds exactly.
constexpr std::array<double, 16> kPowersOfTen = {
    1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

constexpr int kDefaultPrecision = 6;

// The most characters of a number that FormatShort writes.
constexpr int kMostOfShort = kMostDigits + 5;

// A double keeps decimal numbers of so many digits apart.
constexpr int kExactDigits = std::numeric_limits<double>::digits10;

}  // namespace

utl_NumberText::utl_NumberText(double value, int precision) {
  if (precision < 0) {
    precision = kDefaultPrecision;
  }
  if (!FormatShort(value, precision)) {
    const auto end =
        std::to_chars(local_, local_ + sizeof local_, value, std::chars_format::general,
                      std::min(precision, kMaxPrecision))
            .ptr;
    length_ = static_cast<std::size_t>(end - local_);
  }
}

utl_NumberText::utl_NumberText(std::string_view digits) : length_(digits.size()) {
  std::copy(digits.begin(), digits.end(), local_);
}

// Writes a number with at most three decimals and `precision` digits, which most numbers
// that people choose are, several times as fast as std::to_chars. Returns false for
// others, -0 among them, which keeps its sign.
bool utl_NumberText::FormatShort(double value, int precision) {
  const double magnitude = std::fabs(value);
  const auto most =
      kPowersOfTen[static_cast<std::size_t>(std::clamp(precision, 1, kExactDigits))];
  if (!(magnitude < most) || (value == 0 && std::signbit(value))) {
    return false;
  }
  auto whole = static_cast<std::uint64_t>(magnitude);
  std::uint64_t thousandths = 0;
  if (magnitude != static_cast<double>(whole)) {
    // The number is the one that is closest to these thousandths if it is what their
    // division gives. With so few digits they are then its rounded digits, too.
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): one that is wrong is found out below
    thousandths = static_cast<std::uint64_t>(magnitude * 1000 + 0.5);
    const auto rounded = static_cast<double>(thousandths);
    if (precision > kExactDigits || rounded >= most || rounded / 1000 != magnitude) {
      return false;
    }
    whole = thousandths / 1000;
    thousandths %= 1000;
  }
  onlyDigits_ = thousandths == 0;
  char* const end = local_ + kMostOfShort;
  char* begin = end;
  if (thousandths != 0) {
    int decimals = 3;
    for (; thousandths % 10 == 0; thousandths /= 10) {
      --decimals;
    }
    for (; decimals > 0; --decimals, thousandths /= 10) {
      *--begin = static_cast<char>('0' + thousandths % 10);
    }
    *--begin = '.';
  }
  begin = utl_putDigits(begin, whole);
  if (value < 0) {
    *--begin = '-';
  }
  text_ = begin;
  length_ = static_cast<std::size_t>(end - begin);
  return true;
}

void utl_NumberText::Pad(int width) {
  const auto field = static_cast<std::size_t>(std::abs(std::int64_t{width}));
  if (field <= length_) {
    return;
  }
  const std::size_t blanks = field - length_;
  char* padded = local_;
  if (field >= sizeof local_) {
    large_ = std::make_unique_for_overwrite<char[]>(field + 1);  // and a point
    padded = large_.get();
  }
  std::memmove(padded + (width > 0 ? blanks : 0), text_, length_);
  std::memset(padded + (width > 0 ? 0 : length_), ' ', blanks);
  text_ = padded;
  length_ = field;
}

void utl_NumberText::AddPoint() {
  const auto tells = [](char c) { return c == '.' || c == 'e'; };
  if (onlyDigits_ || std::none_of(text_, text_ + length_, tells)) {
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
