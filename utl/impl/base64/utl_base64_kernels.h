#pragma once

// The alphabet, and the kernels behind utl_base64Kernels.

#include <array>
#include <cstddef>
#include <string_view>

inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+!";

// What a byte that is not of the alphabet means to the decoder.
inline constexpr int kBase64End = -1;
inline constexpr int kBase64Padding = -2;
inline constexpr int kBase64Invalid = -3;

/// The value 0 to 63 of each byte, or one of the meanings above.
inline constexpr auto kBase64Values = [] {
  std::array<int, 256> values{};
  values.fill(kBase64Invalid);
  for (std::size_t i = 0; i != kBase64Alphabet.size(); ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<int>(i);
  }
  values['\0'] = kBase64End;
  values['='] = kBase64Padding;
  return values;
}();

/// One character or value at a time.
void utl_base64EncodePlain(const unsigned char* bytes, std::size_t groups,
                           char* text) noexcept;
std::size_t utl_base64DecodePlain(const unsigned char* text, std::size_t groups,
                                  unsigned char* bytes) noexcept;

/// Two characters from one table of all 12-bit values; four tables for decoding.
void utl_base64EncodeTable(const unsigned char* bytes, std::size_t groups,
                           char* text) noexcept;
std::size_t utl_base64DecodeTable(const unsigned char* text, std::size_t groups,
                                  unsigned char* bytes) noexcept;

/// Eight groups at a time.
bool utl_base64HasAvx2();
void utl_base64EncodeAvx2(const unsigned char* bytes, std::size_t groups,
                          char* text) noexcept;
std::size_t utl_base64DecodeAvx2(const unsigned char* text, std::size_t groups,
                                 unsigned char* bytes) noexcept;

/// Sixteen groups at a time.
bool utl_base64HasAvx512();
void utl_base64EncodeAvx512(const unsigned char* bytes, std::size_t groups,
                            char* text) noexcept;
std::size_t utl_base64DecodeAvx512(const unsigned char* text, std::size_t groups,
                                   unsigned char* bytes) noexcept;
