#include <array>

#include "utl/impl/crc32/utl_crc32_kernels.h"

namespace {

using Table = std::array<std::uint32_t, 256>;

constexpr Table MakeTable() {
  Table table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t entry = i << 24;
    for (int bit = 0; bit < 8; ++bit) {
      const bool carry = (entry >> 31) != 0;
      entry <<= 1;
      if (carry) {
        entry ^= static_cast<std::uint32_t>(kCrc32Polynomial);
      }
    }
    table[i] = entry;
  }
  return table;
}

constexpr Table kTable = MakeTable();

constexpr std::size_t kSlice = 16;

// Table k gives the effect of a byte with k more bytes of the slice after it.
constexpr std::array<Table, kSlice> MakeSliceTables() {
  std::array<Table, kSlice> tables{};
  tables[0] = kTable;
  for (std::size_t k = 1; k < kSlice; ++k) {
    for (std::size_t i = 0; i < 256; ++i) {
      const std::uint32_t before = tables[k - 1][i];
      tables[k][i] = (before << 8) ^ kTable[before >> 24];
    }
  }
  return tables;
}

constexpr std::array<Table, kSlice> kSliceTables = MakeSliceTables();

std::uint32_t Step(std::uint32_t reg, const unsigned char* bytes, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    reg = (reg << 8) ^ kTable[((reg >> 24) ^ bytes[i]) & 0xFF];
  }
  return reg;
}

}  // namespace

std::uint32_t utl_crc32Plain(std::uint32_t reg, const void* data,
                             std::size_t size) noexcept {
  return Step(reg, static_cast<const unsigned char*>(data), size);
}

std::uint32_t utl_crc32Sliced(std::uint32_t reg, const void* data,
                              std::size_t size) noexcept {
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (; size >= kSlice; size -= kSlice, bytes += kSlice) {
    std::uint32_t next = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      next ^= kSliceTables[15 - i][((reg >> (24 - 8 * i)) ^ bytes[i]) & 0xFF];
    }
    for (std::size_t i = 4; i < kSlice; ++i) {
      next ^= kSliceTables[15 - i][bytes[i]];
    }
    reg = next;
  }
  return Step(reg, bytes, size);
}
