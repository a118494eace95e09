#include <immintrin.h>

#include "utl/impl/base64/utl_base64_kernels.h"

// Eight groups at a time, four in each half of a register.
#define KSTUTL_BASE64_HALVES gnu::target("avx2")

namespace {

constexpr std::size_t kGroups = 8;

// The six bits for each character, from the bytes b0 b1 b2 of each group.
[[gnu::always_inline, KSTUTL_BASE64_HALVES]] inline __m256i SixBits(__m256i bytes) {
  // As b1 b0 b2 b1; then two characters by a multiplication that shifts to the right,
  // two by one that shifts to the left.
  const __m256i order = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
  const __m256i spread = _mm256_shuffle_epi8(bytes, order);
  const __m256i right =
      _mm256_mulhi_epu16(_mm256_and_si256(spread, _mm256_set1_epi32(0x0FC0FC00)),
                         _mm256_set1_epi32(0x04000040));
  const __m256i left =
      _mm256_mullo_epi16(_mm256_and_si256(spread, _mm256_set1_epi32(0x003F03F0)),
                         _mm256_set1_epi32(0x01000010));
  return _mm256_or_si256(right, left);
}

[[gnu::always_inline, KSTUTL_BASE64_HALVES]] inline __m256i Characters(__m256i values) {
  // What is added to a value, by its range: 0 for 26 to 51, 1 to 10 for the digits, 11
  // and 12 for the last two, 13 for 0 to 25.
  const __m256i distances = _mm256_broadcastsi128_si256(_mm_setr_epi8(
      'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
      '0' - 52, '0' - 52, '0' - 52, '+' - 62, '!' - 63, 'A', 0, 0));
  const __m256i upper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
  const __m256i range = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                        _mm256_and_si256(upper, _mm256_set1_epi8(13)));
  return _mm256_adds_epi8(values, _mm256_shuffle_epi8(distances, range));
}

[[gnu::always_inline, KSTUTL_BASE64_HALVES]] inline __m256i HighHalves(__m256i chars) {
  return _mm256_and_si256(_mm256_srli_epi32(chars, 4), _mm256_set1_epi8(15));
}

// Whether all are of the alphabet. Each high half of a byte has a bit, which is set for
// the low halves that do not occur with it: 1 for 2x, 2 for 3x, 4 for 4x and 6x, 8 for 5x
// and 7x, 16 for all others.
[[gnu::always_inline, KSTUTL_BASE64_HALVES]] inline bool AllInAlphabet(__m256i chars) {
  const __m256i byLow = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(0x15, 0x10, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13,
                    0x1A, 0x1B, 0x1B, 0x1B, 0x1B));
  const __m256i byHigh = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(16, 16, 1, 2, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16));
  const __m256i low = _mm256_and_si256(chars, _mm256_set1_epi8(15));
  return _mm256_testz_si256(_mm256_shuffle_epi8(byLow, low),
                            _mm256_shuffle_epi8(byHigh, HighHalves(chars))) != 0;
}

// The values of characters of the alphabet, by a distance for each high half. "!" uses
// the entry before its own, which is free.
[[gnu::always_inline, KSTUTL_BASE64_HALVES]] inline __m256i Values(__m256i chars) {
  const __m256i distances = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(0, 63 - '!', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0,
                    0, 0, 0, 0, 0, 0));
  const __m256i last = _mm256_cmpeq_epi8(chars, _mm256_set1_epi8('!'));
  const __m256i index = _mm256_adds_epi8(HighHalves(chars), last);
  return _mm256_adds_epi8(chars, _mm256_shuffle_epi8(distances, index));
}

// The bytes of eight groups of values, 24 from the lowest on.
[[gnu::always_inline, KSTUTL_BASE64_HALVES]] inline __m256i Bytes(__m256i values) {
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
  const __m256i words = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  const __m256i order = _mm256_broadcastsi128_si256(
      _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(words, order),
                                     _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}

}  // namespace

bool utl_base64HasAvx2() {
  return __builtin_cpu_supports("avx2");
}

[[KSTUTL_BASE64_HALVES]] void utl_base64EncodeAvx2(const unsigned char* bytes,
                                                   std::size_t groups,
                                                   char* text) noexcept {
  // 28 bytes are read, of which 24 are used.
  for (; groups >= kGroups + 2; groups -= kGroups) {
    const auto* first = reinterpret_cast<const __m128i_u*>(bytes);
    const auto* second = reinterpret_cast<const __m128i_u*>(bytes + 12);
    const __m256i lanes = _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(first)), _mm_loadu_si128(second), 1);
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(text), Characters(SixBits(lanes)));
    bytes += 3 * kGroups;
    text += 4 * kGroups;
  }
  utl_base64EncodeTable(bytes, groups, text);
}

[[KSTUTL_BASE64_HALVES]] std::size_t utl_base64DecodeAvx2(const unsigned char* text,
                                                          std::size_t groups,
                                                          unsigned char* bytes) noexcept {
  std::size_t done = 0;
  for (; groups - done >= kGroups; done += kGroups) {
    const __m256i chars =
        _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(text + 4 * done));
    if (!AllInAlphabet(chars)) {
      break;  // the table finds the place
    }
    const __m256i lanes = Bytes(Values(chars));
    auto* const target = bytes + 3 * done;
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(target), _mm256_castsi256_si128(lanes));
    _mm_storeu_si64(target + 16, _mm256_extracti128_si256(lanes, 1));
  }
  return done + utl_base64DecodeTable(text + 4 * done, groups - done, bytes + 3 * done);
}
