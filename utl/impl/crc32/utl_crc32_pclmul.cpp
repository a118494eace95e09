#include "utl/impl/crc32/utl_crc32_fold.h"

bool utl_crc32HasPclmul() {
  return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}

[[gnu::target("pclmul,ssse3,sse4.1")]] std::uint32_t utl_crc32Pclmul(
    std::uint32_t reg, const void* data, std::size_t size) noexcept {
  if (size < 16) {
    return utl_crc32Sliced(reg, data, size);
  }
  const auto* bytes = static_cast<const unsigned char*>(data);
  __m128i a = _mm_xor_si128(utl_crc32Load(bytes), utl_crc32FromRegister(reg));
  if (size < 64) {
    return utl_crc32Finish(a, bytes + 16, size - 16);
  }
  __m128i b = utl_crc32Load(bytes + 16);
  __m128i c = utl_crc32Load(bytes + 32);
  __m128i d = utl_crc32Load(bytes + 48);
  bytes += 64;
  size -= 64;
  for (; size >= 64; size -= 64, bytes += 64) {
    a = _mm_xor_si128(utl_crc32Move<512>(a), utl_crc32Load(bytes));
    b = _mm_xor_si128(utl_crc32Move<512>(b), utl_crc32Load(bytes + 16));
    c = _mm_xor_si128(utl_crc32Move<512>(c), utl_crc32Load(bytes + 32));
    d = _mm_xor_si128(utl_crc32Move<512>(d), utl_crc32Load(bytes + 48));
  }
  return utl_crc32Finish(utl_crc32Join(a, b, c, d), bytes, size);
}
