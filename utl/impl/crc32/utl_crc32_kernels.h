#pragma once

// The kernels of utl_crc32, each in its own source, and the arithmetic that their
// constants come from: polynomials over GF(2), bit i for x^i.

#include <cstddef>
#include <cstdint>

inline constexpr std::uint64_t kCrc32Polynomial = 0x104C11DB7u;  // x^32 included

/// x^n modulo the polynomial.
constexpr std::uint32_t utl_crc32PowerOfX(unsigned n) {
  std::uint64_t rest = 1;
  for (; n > 0; --n) {
    rest <<= 1;
    if ((rest >> 32) != 0) {
      rest ^= kCrc32Polynomial;
    }
  }
  return static_cast<std::uint32_t>(rest);
}

/// The quotient of x^64 by the polynomial: 33 bits.
constexpr std::uint64_t utl_crc32QuotientOfX64() {
  std::uint64_t quotient = std::uint64_t{1} << 32;
  std::uint64_t rest = kCrc32Polynomial << 32;  // x^64 itself has dropped out
  for (int bit = 31; bit >= 0; --bit) {
    if ((rest >> (bit + 32) & 1) != 0) {
      quotient |= std::uint64_t{1} << bit;
      rest ^= kCrc32Polynomial << bit;
    }
  }
  return quotient;
}

/// One table of 256 entries, a byte at a time.
std::uint32_t utl_crc32Plain(std::uint32_t reg, const void* data,
                             std::size_t size) noexcept;

/// Sixteen tables, sixteen bytes at a time.
std::uint32_t utl_crc32Sliced(std::uint32_t reg, const void* data,
                              std::size_t size) noexcept;

/// Carry-less multiplication, four 128-bit accumulators.
bool utl_crc32HasPclmul();
std::uint32_t utl_crc32Pclmul(std::uint32_t reg, const void* data,
                              std::size_t size) noexcept;

/// The same on four 512-bit accumulators.
bool utl_crc32HasVpclmul();
std::uint32_t utl_crc32Vpclmul(std::uint32_t reg, const void* data,
                               std::size_t size) noexcept;
