#include "utl/impl/crc32/utl_crc32_fold.h"

bool Crc32HasPclmul() {
  return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}

[[gnu::target("pclmul,ssse3,sse4.1")]] std::uint32_t Crc32Pclmul(
    std::uint32_t reg, const void* data, std::size_t size) noexcept {
  if (size < 16) {
    return Crc32Sliced(reg, data, size);
  }
  const auto* bytes = static_cast<const unsigned char*>(data);
  __m128i a = _mm_xor_si128(Crc32Load(bytes), Crc32FromRegister(reg));
  if (size < 64) {
    return Crc32Finish(a, bytes + 16, size - 16);
  }
  __m128i b = Crc32Load(bytes + 16);
  __m128i c = Crc32Load(bytes + 32);
  __m128i d = Crc32Load(bytes + 48);
  bytes += 64;
  size -= 64;
  for (; size >= 64; size -= 64, bytes += 64) {
    a = _mm_xor_si128(Crc32Move<512>(a), Crc32Load(bytes));
    b = _mm_xor_si128(Crc32Move<512>(b), Crc32Load(bytes + 16));
    c = _mm_xor_si128(Crc32Move<512>(c), Crc32Load(bytes + 32));
    d = _mm_xor_si128(Crc32Move<512>(d), Crc32Load(bytes + 48));
  }
  return Crc32Finish(Crc32Join(a, b, c, d), bytes, size);
}
