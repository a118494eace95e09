#pragma once

// Internal to the library: whole numbers as decimal digits.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// The most digits that a number of 64 bits has.
inline constexpr int kMostDigits = 20;

/// "00", "01" to "99".
inline constexpr std::array<char, 200> kPairsOfDigits = [] {
  std::array<char, 200> pairs = {};
  for (std::size_t i = 0; i != pairs.size(); i += 2) {
    pairs[i] = static_cast<char>('0' + i / 20);
    pairs[i + 1] = static_cast<char>('0' + i / 2 % 10);
  }
  return pairs;
}();

/// Writes the digits of a number so that they end before `end`, and returns their first.
/// They are written from the last to the first, so that nobody has to count them before,
/// and in pairs: the byte before an odd number of them is overwritten.
inline char* utl_putDigits(char* end, std::uint64_t value) {
  const auto put = [&end](std::size_t pair) {
    end -= 2;
    std::memcpy(end, &kPairsOfDigits[pair * 2], 2);
  };
  for (; value >> 32 != 0; value /= 100) {
    put(value % 100);
  }
  auto rest = static_cast<std::uint32_t>(value);  // which is divided faster
  for (; rest >= 100; rest /= 100) {
    put(rest % 100);
  }
  put(rest);
  return end + (rest < 10 ? 1 : 0);
}
