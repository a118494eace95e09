#include "utl/impl/crc32/utl_crc32_fold.h"

#define KSTUTL_CRC32_WIDE gnu::target("avx512f,avx512bw,vpclmulqdq,pclmul,ssse3,sse4.1")

namespace {

// The zero-masked forms of two intrinsics, with every lane kept, because gcc warns that
// the plain ones read something uninitialized.
[[gnu::always_inline, KSTUTL_CRC32_WIDE]] inline __m512i FourTimes(__m128i lane) {
  return _mm512_maskz_broadcast_i32x4(0xFFFF, lane);
}

template <int kLane>
[[gnu::always_inline, KSTUTL_CRC32_WIDE]] inline __m128i Lane(__m512i lanes) {
  return _mm512_maskz_extracti32x4_epi32(0xF, lanes, kLane);
}

[[gnu::always_inline, KSTUTL_CRC32_WIDE]] inline __m512i Load(
    const unsigned char* bytes) {
  return _mm512_shuffle_epi8(_mm512_loadu_si512(bytes), FourTimes(utl_crc32ByteOrder()));
}

// Moves the four accumulators of `acc` `kBits` down the message, onto `next`.
template <unsigned kBits>
[[gnu::always_inline, KSTUTL_CRC32_WIDE]] inline __m512i MoveOnto(__m512i acc,
                                                                  __m512i next) {
  constexpr std::uint64_t kHigh = utl_crc32PowerOfX(kBits + 64);
  constexpr std::uint64_t kLow = utl_crc32PowerOfX(kBits);
  const __m512i factors = FourTimes(utl_crc32Constants(kHigh, kLow));
  constexpr int kXorOfThree = 0x96;
  return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(acc, factors, 0x11),
                                   _mm512_clmulepi64_epi128(acc, factors, 0x00), next,
                                   kXorOfThree);
}

}  // namespace

bool utl_crc32HasVpclmul() {
  return utl_crc32HasPclmul() && __builtin_cpu_supports("vpclmulqdq") &&
         __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw");
}

[[KSTUTL_CRC32_WIDE]] std::uint32_t utl_crc32Vpclmul(std::uint32_t reg, const void* data,
                                                     std::size_t size) noexcept {
  if (size < 256) {
    return utl_crc32Pclmul(reg, data, size);
  }
  const auto* bytes = static_cast<const unsigned char*>(data);
  __m512i a =
      _mm512_xor_si512(Load(bytes), _mm512_zextsi128_si512(utl_crc32FromRegister(reg)));
  __m512i b = Load(bytes + 64);
  __m512i c = Load(bytes + 128);
  __m512i d = Load(bytes + 192);
  bytes += 256;
  size -= 256;
  for (; size >= 256; size -= 256, bytes += 256) {
    a = MoveOnto<2048>(a, Load(bytes));
    b = MoveOnto<2048>(b, Load(bytes + 64));
    c = MoveOnto<2048>(c, Load(bytes + 128));
    d = MoveOnto<2048>(d, Load(bytes + 192));
  }
  d = MoveOnto<512>(c, d);
  d = MoveOnto<1024>(b, d);
  d = MoveOnto<1536>(a, d);
  for (; size >= 64; size -= 64, bytes += 64) {
    d = MoveOnto<512>(d, Load(bytes));
  }
  return utl_crc32Finish(utl_crc32Join(Lane<0>(d), Lane<1>(d), Lane<2>(d), Lane<3>(d)),
                         bytes, size);
}
