#include <cstdint>
#include <cstring>

#include "utl/impl/base64/utl_base64_kernels.h"

namespace {

using Pair = std::array<char, 2>;

// The two characters of every value of 12 bits.
constexpr auto kPairs = [] {
  std::array<Pair, 4096> pairs{};
  for (std::size_t i = 0; i != pairs.size(); ++i) {
    pairs[i] = {kBase64Alphabet[i >> 6], kBase64Alphabet[i & 63]};
  }
  return pairs;
}();

// Above the 24 bits of a group: set by each byte outside the alphabet.
constexpr std::uint32_t kOutside = std::uint32_t{1} << 24;

// For each place in a group the byte's value, shifted to where it belongs.
constexpr auto kShifted = [] {
  std::array<std::array<std::uint32_t, 256>, 4> shifted{};
  for (std::size_t place = 0; place < 4; ++place) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const int value = kBase64Values[byte];
      shifted[place][byte] =
          value < 0 ? kOutside : static_cast<std::uint32_t>(value) << (18 - 6 * place);
    }
  }
  return shifted;
}();

}  // namespace

void utl_base64EncodePlain(const unsigned char* bytes, std::size_t groups,
                           char* text) noexcept {
  for (; groups > 0; --groups, bytes += 3, text += 4) {
    text[0] = kBase64Alphabet[bytes[0] >> 2];
    text[1] = kBase64Alphabet[(bytes[0] << 4 | bytes[1] >> 4) & 63];
    text[2] = kBase64Alphabet[(bytes[1] << 2 | bytes[2] >> 6) & 63];
    text[3] = kBase64Alphabet[bytes[2] & 63];
  }
}

std::size_t utl_base64DecodePlain(const unsigned char* text, std::size_t groups,
                                  unsigned char* bytes) noexcept {
  for (std::size_t done = 0; done < groups; ++done, text += 4, bytes += 3) {
    int values[4];
    for (int i = 0; i < 4; ++i) {
      values[i] = kBase64Values[text[i]];
      if (values[i] < 0) {
        return done;
      }
    }
    bytes[0] = static_cast<unsigned char>(values[0] << 2 | values[1] >> 4);
    bytes[1] = static_cast<unsigned char>(values[1] << 4 | values[2] >> 2);
    bytes[2] = static_cast<unsigned char>(values[2] << 6 | values[3]);
  }
  return groups;
}

void utl_base64EncodeTable(const unsigned char* bytes, std::size_t groups,
                           char* text) noexcept {
  for (; groups > 0; --groups, bytes += 3, text += 4) {
    const std::uint32_t group = static_cast<std::uint32_t>(bytes[0]) << 16 |
                                static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[2];
    std::memcpy(text, kPairs[group >> 12].data(), 2);
    std::memcpy(text + 2, kPairs[group & 4095].data(), 2);
  }
}

std::size_t utl_base64DecodeTable(const unsigned char* text, std::size_t groups,
                                  unsigned char* bytes) noexcept {
  for (std::size_t done = 0; done < groups; ++done, text += 4, bytes += 3) {
    const std::uint32_t group = kShifted[0][text[0]] | kShifted[1][text[1]] |
                                kShifted[2][text[2]] | kShifted[3][text[3]];
    if (group >= kOutside) {
      return done;
    }
    bytes[0] = static_cast<unsigned char>(group >> 16);
    bytes[1] = static_cast<unsigned char>(group >> 8);
    bytes[2] = static_cast<unsigned char>(group);
  }
  return groups;
}
