#pragma once

// The checksum of the multisection file.

#include <cstddef>
#include <cstdint>
#include <span>

/// The register before the first byte.
inline constexpr std::uint32_t kCrc32Start = 0xFFFFFFFFu;

/// Continues the checksum over `size` bytes: the CRC catalogued as CRC-32/MPEG-2
/// (polynomial 0x04C11DB7, most significant bit first, nothing reflected, no final
/// inversion; "123456789" gives 0x0376E6E7, no bytes 0xFFFFFFFF).
///
/// `reg` is kCrc32Start or the result for the bytes before, so a block may be divided
/// in any way. Any thread may call it at any time. Never throws.
std::uint32_t utl_crc32(std::uint32_t reg, const void* data, std::size_t size) noexcept;

/// Copies `size` bytes and continues the checksum over them, block by block, so that the
/// data passes through the processor's cache once.
/// REQUIRES: the two ranges do not overlap.
std::uint32_t utl_crc32Copy(std::uint32_t reg, void* to, const void* from,
                            std::size_t size) noexcept;

using utl_Crc32Function = std::uint32_t (*)(std::uint32_t reg, const void* data,
                                            std::size_t size) noexcept;

/// One way to compute the checksum. All give the same results.
struct utl_Crc32Kernel {
  const char* name;
  utl_Crc32Function function;
  bool available;  ///< false: this processor lacks the instructions
};

/// Every kernel, the slowest (a byte at a time from one table) first. utl_crc32
/// uses the last one available.
std::span<const utl_Crc32Kernel> utl_crc32Kernels();
