#include "utl/impl/text/utl_NumberText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>

#include "utl/impl/text/utl_digits.h"

namespace {

constexpr int kDefaultPrecision = 6;

// Most numbers have no exponent in their text, and are written here, several times as
// fast as by std::to_chars: those from 10 to the power of -4 on, of up to 17 digits,
// which keep all doubles apart.
constexpr int kLeastPower = -4;
constexpr int kMostPrecision = 17;

// Their texts end here. They have a sign, "0.000" and 17 digits, written in pairs.
constexpr int kFixedEnd = 32;

// 10 to a power from kLeastPower on. A double is below one of these exactly when it is
// below the power itself.
constexpr std::array kPowersOfTen = {1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1, 1e2,  1e3,
                                     1e4,  1e5,  1e6,  1e7,  1e8,  1e9, 1e10, 1e11,
                                     1e12, 1e13, 1e14, 1e15, 1e16, 1e17};

double PowerOfTen(int power) {
  return kPowersOfTen[static_cast<std::size_t>(power - kLeastPower)];
}

// 10 or 5 to the power of the index.
template <std::size_t count>
constexpr std::array<std::uint64_t, count> Powers(std::uint64_t base) {
  std::array<std::uint64_t, count> powers = {1};
  for (std::size_t i = 1; i < count; ++i) {
    powers[i] = powers[i - 1] * base;
  }
  return powers;
}
constexpr auto kWholePowersOfTen = Powers<kMostPrecision + 1>(10);
std::uint64_t WholePowerOfTen(int power) {
  return kWholePowersOfTen[static_cast<std::size_t>(power)];
}
constexpr auto kPowersOfFive = Powers<kMostPrecision - kLeastPower>(5);

// A number as its digits, of which the last ones are decimals.
struct Fixed {
  std::uint64_t digits;
  int decimals;

  // Removes zeros from the end, so many each time.
  template <int... counts>
  void DropZeros() {
    const auto drop = [this](int count, std::uint64_t power) {
      if (decimals >= count && digits % power == 0) {
        digits /= power;
        decimals -= count;
      }
    };
    (drop(counts, kWholePowersOfTen[counts]), ...);
  }
};

// The number's first `precision` digits without zeros at their end, rounded as printf
// does: exactly, and a half to the even digit. Nothing when that gives one digit more.
std::optional<Fixed> Rounded(double magnitude, int precision) {
  constexpr int kMantissaBits = 52;
  constexpr int kBias = 1023;
  __extension__ using Wide = unsigned __int128;
  const auto bits = std::bit_cast<std::uint64_t>(magnitude);
  const int binary = static_cast<int>(bits >> kMantissaBits) - kBias;
  const auto one = std::uint64_t{1} << kMantissaBits;
  // The power of ten of the first digit, or one less; 1233 / 4096 is nearly lg 2.
  int power = binary * 1233 >> 12;
  power += magnitude >= PowerOfTen(power + 1) ? 1 : 0;
  // The number times 10 to the `decimals`, with 1 to 63 bits after the point.
  const int decimals = precision - 1 - power;
  const int shift = kMantissaBits + 1 - binary - decimals;
  const Wide mantissa = bits % one | one;
  const Wide exact = 2 * mantissa * kPowersOfFive[static_cast<std::size_t>(decimals)];
  auto digits = static_cast<std::uint64_t>(exact >> shift);
  const std::uint64_t rest = static_cast<std::uint64_t>(exact) << (64 - shift);
  constexpr std::uint64_t kHalf = std::uint64_t{1} << 63;
  digits += rest > kHalf || (rest == kHalf && digits % 2 != 0) ? 1 : 0;
  if (digits == WholePowerOfTen(precision)) {
    return {};
  }
  Fixed number{digits, decimals};
  number.DropZeros<16, 8, 4, 2, 1>();
  return number;
}

// As utl_putDigits.
char* PutFixed(char* end, const Fixed& number) {
  if (number.decimals == 0) {
    return utl_putDigits(end, number.digits);
  }
  const std::uint64_t one = WholePowerOfTen(std::min(number.decimals, kMostPrecision));
  char* begin = utl_putDigits(end, number.digits % one);
  while (end - begin < number.decimals) {
    *--begin = '0';
  }
  *--begin = '.';
  return utl_putDigits(begin, number.digits / one);
}

}  // namespace

// False for other than whole numbers, for those of too many digits, and for -0, which
// keeps its sign.
inline bool utl_NumberText::FormatWhole(double value, int precision) {
  const double magnitude = std::fabs(value);
  if (!(magnitude < PowerOfTen(std::clamp(precision, 1, kMostPrecision)))) {
    return false;
  }
  const auto whole = static_cast<std::int64_t>(magnitude);  // signed: one instruction
  if (magnitude != static_cast<double>(whole) || (whole == 0 && std::signbit(value))) {
    return false;
  }
  Take(utl_putDigits(local_ + kFixedEnd, static_cast<std::uint64_t>(whole)), value < 0);
  return true;
}

// False where an exponent is needed, or may be.
bool utl_NumberText::FormatDecimals(double value, int precision) {
  precision = std::max(precision, 1);
  const double magnitude = std::fabs(value);
  if (precision > kMostPrecision || !(magnitude >= PowerOfTen(kLeastPower)) ||
      !(magnitude < PowerOfTen(precision))) {
    return false;
  }
  const std::optional<Fixed> number = Rounded(magnitude, precision);
  if (!number) {
    return false;
  }
  Take(PutFixed(local_ + kFixedEnd, *number), value < 0);
  hasPoint_ = number->decimals > 0;
  return true;
}

// Takes a number whose digits begin there. The sign is written in any case: a processor
// cannot foresee which numbers need it.
inline void utl_NumberText::Take(char* begin, bool isNegative) {
  begin[-1] = '-';
  text_ = begin - (isNegative ? 1 : 0);
  length_ = static_cast<std::size_t>(local_ + kFixedEnd - text_);
}

void utl_NumberText::FormatAny(double value, int precision) {
  const auto end =
      std::to_chars(local_, local_ + sizeof local_, value, std::chars_format::general,
                    std::min(precision, kMaxPrecision))
          .ptr;
  length_ = static_cast<std::size_t>(end - local_);
  hasPoint_ =
      std::string_view(local_, length_).find_first_of(".e") != std::string_view::npos;
}

utl_NumberText::utl_NumberText(double value, int precision) {
  if (precision < 0) {
    precision = kDefaultPrecision;
  }
  if (!FormatWhole(value, precision) && !FormatDecimals(value, precision)) {
    FormatAny(value, precision);
  }
}

utl_NumberText::utl_NumberText(std::string_view digits) : length_(digits.size()) {
  std::copy(digits.begin(), digits.end(), local_);
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

std::size_t utl_addPoint(char* text, std::size_t length) {
  text[length] = '.';
  if (text[0] != ' ') {
    return length + 1;
  }
  std::memmove(text, text + 1, length);
  return length;
}
