// The checksum of the section file.

#include "utl/impl/crc32/utl_crc32.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "bench_work.h"
#include "utl_crc32_works.h"

namespace {

using Table = std::array<std::uint32_t, 256>;

Table MakeTable() {
  Table table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t reg = byte << 24;
    for (int bit = 0; bit < 8; ++bit) {
      reg = (reg << 1) ^ ((reg >> 31) * 0x04C11DB7);
    }
    table[byte] = reg;
  }
  return table;
}

std::uint32_t NaiveCrc(std::uint32_t reg, const std::string& bytes) {
  static const Table table = MakeTable();
  for (const char byte : bytes) {
    reg = (reg << 8) ^ table[(reg >> 24) ^ static_cast<unsigned char>(byte)];
  }
  return reg;
}

void AddKernels() {
  const std::string bytes = bench::RandomBytes(16384);
  for (const utl_Crc32Kernel& kernel : utl_crc32Kernels()) {
    if (kernel.available) {
      const bench::Work work(std::string("CRC-32 16 KB by ") + kernel.name);
      work.Coding("ours", [bytes, function = kernel.function] {
        return function(kCrc32Start, bytes.data(), bytes.size());
      });
      work.Coding("naive", [bytes] { return NaiveCrc(kCrc32Start, bytes); });
    }
  }
}

}  // namespace

void bench::AddWorks() {
  for (const auto& [name, size] : kCrc32Works) {
    const std::string bytes = RandomBytes(size);
    const Work work(name);
    work.Coding("ours",
                [bytes] { return utl_crc32(kCrc32Start, bytes.data(), bytes.size()); });
    work.Coding("naive", [bytes] { return NaiveCrc(kCrc32Start, bytes); });
    work.Measured("limit memcpy", [bytes, to = bytes]() mutable {
      std::memcpy(to.data(), bytes.data(), bytes.size());
    });
    work.Counted();
  }
  AddKernels();
}
