#pragma once

// Checksum by folding, 128 bits at a time; shared by the two kernels that use
// carry-less multiplication.
//
// The message is a polynomial, its first byte the highest. An accumulator holds 16
// bytes of it; moving them D bits down the message multiplies them by x^D, which
// modulo the polynomial is two 64 by 32 bit products:
//
//   high * (x^(D+64) mod P)  +  low * (x^D mod P)
//
// The register enters by being added to the first four bytes.

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "utl/impl/crc32/utl_crc32_kernels.h"

#define KSTUTL_CRC32_FOLD \
  [[gnu::always_inline, gnu::target("pclmul,ssse3,sse4.1")]] static inline

KSTUTL_CRC32_FOLD __m128i utl_crc32Constants(std::uint64_t high, std::uint64_t low) {
  return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

/// The shuffle that makes the first byte the highest.
KSTUTL_CRC32_FOLD __m128i utl_crc32ByteOrder() {
  return _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

KSTUTL_CRC32_FOLD __m128i utl_crc32Load(const unsigned char* bytes) {
  return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)),
                          utl_crc32ByteOrder());
}

/// The register over the first four of sixteen bytes.
KSTUTL_CRC32_FOLD __m128i utl_crc32FromRegister(std::uint32_t reg) {
  return _mm_set_epi32(static_cast<int>(reg), 0, 0, 0);
}

/// Moves an accumulator `kBits` down the message.
template <unsigned kBits>
KSTUTL_CRC32_FOLD __m128i utl_crc32Move(__m128i acc) {
  constexpr std::uint64_t kHigh = utl_crc32PowerOfX(kBits + 64);
  constexpr std::uint64_t kLow = utl_crc32PowerOfX(kBits);
  const __m128i factors = utl_crc32Constants(kHigh, kLow);
  return _mm_xor_si128(_mm_clmulepi64_si128(acc, factors, 0x11),
                       _mm_clmulepi64_si128(acc, factors, 0x00));
}

/// Four neighbouring accumulators into one.
KSTUTL_CRC32_FOLD __m128i utl_crc32Join(__m128i a, __m128i b, __m128i c, __m128i d) {
  return _mm_xor_si128(_mm_xor_si128(utl_crc32Move<384>(a), utl_crc32Move<256>(b)),
                       _mm_xor_si128(utl_crc32Move<128>(c), d));
}

/// Takes in the last `size` bytes of a message, 1 to 15.
/// REQUIRES: `acc` holds earlier bytes, so 16 bytes before the end can be read.
KSTUTL_CRC32_FOLD __m128i utl_crc32FoldTail(__m128i acc, const unsigned char* bytes,
                                            std::size_t size) {
  // A window on this table shifts by bytes; what is shifted in is 0 (bit 7 set).
  static constexpr unsigned char kShift[48] = {
      0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
      0x80, 0x80, 0x80, 0x80, 0,    1,    2,    3,    4,    5,    6,    7,
      8,    9,    10,   11,   12,   13,   14,   15,   0x80, 0x80, 0x80, 0x80,
      0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};
  const auto* center = reinterpret_cast<const char*>(kShift) + 16;
  const __m128i up = _mm_loadu_si128(reinterpret_cast<const __m128i*>(center - size));
  const __m128i down =
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(center + 16 - size));
  const __m128i last16 = utl_crc32Load(bytes + size - 16);
  const __m128i high = _mm_shuffle_epi8(acc, down);
  const __m128i low = _mm_blendv_epi8(_mm_shuffle_epi8(acc, up), last16, up);
  return _mm_xor_si128(utl_crc32Move<128>(high), low);
}

/// What is left of acc * x^32 modulo the polynomial: the new register.
KSTUTL_CRC32_FOLD std::uint32_t utl_crc32Reduce(__m128i acc) {
  // 128 bits to 96, to 64, then Barrett's quotient.
  constexpr std::uint64_t kX96 = utl_crc32PowerOfX(96);
  constexpr std::uint64_t kX64 = utl_crc32PowerOfX(64);
  constexpr std::uint64_t kQuotient = utl_crc32QuotientOfX64();
  const __m128i powers = utl_crc32Constants(kX96, kX64);
  const __m128i barrett = utl_crc32Constants(kCrc32Polynomial, kQuotient);
  const __m128i to96 = _mm_xor_si128(_mm_clmulepi64_si128(acc, powers, 0x11),
                                     _mm_slli_si128(_mm_move_epi64(acc), 4));
  const __m128i to64 = _mm_xor_si128(_mm_clmulepi64_si128(to96, powers, 0x01), to96);
  __m128i quotient = _mm_clmulepi64_si128(_mm_srli_epi64(to64, 32), barrett, 0x00);
  quotient = _mm_srli_epi64(quotient, 32);
  const __m128i product = _mm_clmulepi64_si128(quotient, barrett, 0x10);
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_xor_si128(product, to64)));
}

/// The rest of a message after an accumulator.
KSTUTL_CRC32_FOLD std::uint32_t utl_crc32Finish(__m128i acc, const unsigned char* bytes,
                                                std::size_t size) {
  for (; size >= 16; size -= 16, bytes += 16) {
    acc = _mm_xor_si128(utl_crc32Move<128>(acc), utl_crc32Load(bytes));
  }
  if (size > 0) {
    acc = utl_crc32FoldTail(acc, bytes, size);
  }
  return utl_crc32Reduce(acc);
}

#undef KSTUTL_CRC32_FOLD
