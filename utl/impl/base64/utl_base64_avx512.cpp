#include <immintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "utl/impl/base64/utl_base64_kernels.h"

// Sixteen groups at a time, with the alphabet as a table in registers. Masks cut a step
// to fewer groups.
#define KSTUTL_BASE64_WIDE gnu::target("avx512f,avx512bw,avx512vbmi")

namespace {

constexpr std::size_t kGroups = 16;

using Lanes = std::array<unsigned char, 64>;

template <class Function>
constexpr Lanes MakeLanes(Function valueOf) {
  Lanes lanes{};
  for (std::size_t i = 0; i < lanes.size(); ++i) {
    lanes[i] = static_cast<unsigned char>(valueOf(i));
  }
  return lanes;
}

constexpr Lanes kAlphabet = MakeLanes([](std::size_t i) { return kBase64Alphabet[i]; });

// The bytes b0 b1 b2 of each group as b1 b0 b2 b1, so that every six bits are adjacent.
constexpr Lanes kSpread = MakeLanes([](std::size_t i) {
  constexpr std::array<std::size_t, 4> kOrder = {1, 0, 2, 1};
  return i / 4 * 3 + kOrder[i % 4];
});

// Where the six bits begin in each pair of spread groups.
constexpr Lanes kShifts = MakeLanes([](std::size_t i) {
  constexpr std::array<std::size_t, 4> kStart = {10, 4, 22, 16};
  return kStart[i % 4] + i % 8 / 4 * 32;
});

// The values of the bytes from `from` on; 0x80 for those outside the alphabet.
constexpr Lanes ValuesFrom(std::size_t from) {
  return MakeLanes([from](std::size_t i) {
    return kBase64Values[from + i] < 0 ? 0x80 : kBase64Values[from + i];
  });
}
constexpr Lanes kLowValues = ValuesFrom(0);
constexpr Lanes kHighValues = ValuesFrom(64);

// Three bytes of each word of four, the third first; only 48 are used.
constexpr Lanes kPacked = MakeLanes([](std::size_t i) { return i / 3 * 4 + 2 - i % 3; });

constexpr std::uint64_t LowBits(std::size_t count) {
  return count >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

[[gnu::always_inline, KSTUTL_BASE64_WIDE]] inline __m512i Load(const Lanes& lanes) {
  return _mm512_loadu_si512(lanes.data());
}

// The characters of sixteen groups, of which the bytes are the first 48.
[[gnu::always_inline, KSTUTL_BASE64_WIDE]] inline __m512i Characters(__m512i bytes) {
  const std::uint64_t each = LowBits(64);
  const __m512i spread = _mm512_maskz_permutexvar_epi8(each, Load(kSpread), bytes);
  const __m512i values = _mm512_maskz_multishift_epi64_epi8(each, Load(kShifts), spread);
  return _mm512_maskz_permutexvar_epi8(each, values, Load(kAlphabet));
}

// The bytes of sixteen groups of values, as the first 48.
[[gnu::always_inline, KSTUTL_BASE64_WIDE]] inline __m512i Bytes(__m512i values) {
  const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
  const __m512i words = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
  return _mm512_maskz_permutexvar_epi8(LowBits(64), Load(kPacked), words);
}

[[gnu::always_inline, KSTUTL_BASE64_WIDE]] inline __m512i Values(__m512i chars) {
  return _mm512_permutex2var_epi8(Load(kLowValues), chars, Load(kHighValues));
}

}  // namespace

bool utl_base64HasAvx512() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vbmi");
}

[[KSTUTL_BASE64_WIDE]] void utl_base64EncodeAvx512(const unsigned char* bytes,
                                                   std::size_t groups,
                                                   char* text) noexcept {
  for (; 3 * groups >= sizeof(__m512i); groups -= kGroups) {
    _mm512_storeu_si512(text, Characters(_mm512_loadu_si512(bytes)));
    bytes += 3 * kGroups;
    text += 4 * kGroups;
  }
  while (groups > 0) {
    const std::size_t count = std::min(groups, kGroups);
    const __m512i some = _mm512_maskz_loadu_epi8(LowBits(3 * count), bytes);
    _mm512_mask_storeu_epi8(text, LowBits(4 * count), Characters(some));
    bytes += 3 * count;
    text += 4 * count;
    groups -= count;
  }
}

[[KSTUTL_BASE64_WIDE]] std::size_t utl_base64DecodeAvx512(const unsigned char* text,
                                                          std::size_t groups,
                                                          unsigned char* bytes) noexcept {
  // Four steps at a time, as long as all is of the alphabet.
  constexpr std::size_t kSteps = 4;
  std::size_t done = 0;
  for (; groups - done >= kSteps * kGroups; done += kSteps * kGroups) {
    __m512i values[kSteps];
    __m512i outside = _mm512_setzero_si512();
    for (std::size_t i = 0; i < kSteps; ++i) {
      const __m512i chars = _mm512_loadu_si512(text + 4 * (done + i * kGroups));
      values[i] = Values(chars);
      outside = _mm512_or_si512(outside, _mm512_or_si512(chars, values[i]));
    }
    if (_mm512_movepi8_mask(outside) != 0) {
      break;
    }
    for (std::size_t i = 0; i < kSteps; ++i) {
      _mm512_mask_storeu_epi8(bytes + 3 * (done + i * kGroups), LowBits(3 * kGroups),
                              Bytes(values[i]));
    }
  }
  for (; done < groups; done += kGroups) {
    const std::size_t count = std::min(groups - done, kGroups);
    const __m512i chars = _mm512_maskz_loadu_epi8(LowBits(4 * count), text + 4 * done);
    const __m512i values = Values(chars);
    // Beyond the end there are zeros, which are outside the alphabet.
    const std::uint64_t outside = _mm512_movepi8_mask(_mm512_or_si512(chars, values));
    const std::size_t good = static_cast<std::size_t>(std::countr_zero(outside)) / 4;
    _mm512_mask_storeu_epi8(bytes + 3 * done, LowBits(3 * good), Bytes(values));
    if (good < kGroups) {
      return done + good;
    }
  }
  return groups;
}
