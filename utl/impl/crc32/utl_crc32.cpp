#include "utl/impl/crc32/utl_crc32.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "utl/impl/crc32/utl_crc32_kernels.h"

namespace {

using Kernels = std::array<utl_Crc32Kernel, 4>;

const Kernels& AllKernels() {
  static const Kernels kernels = {{
      {"plain", utl_crc32Plain, true},
      {"sliced", utl_crc32Sliced, true},
      {"pclmul", utl_crc32Pclmul, utl_crc32HasPclmul()},
      {"vpclmul", utl_crc32Vpclmul, utl_crc32HasVpclmul()},
  }};
  return kernels;
}

utl_Crc32Function Fastest() {
  const Kernels& kernels = AllKernels();
  return std::find_if(kernels.rbegin(), kernels.rend(),
                      [](const utl_Crc32Kernel& kernel) { return kernel.available; })
      ->function;
}

std::uint32_t FirstCall(std::uint32_t reg, const void* data, std::size_t size) noexcept;

// Threads that make the first call at the same time all store the same.
std::atomic<utl_Crc32Function> chosen = FirstCall;

std::uint32_t FirstCall(std::uint32_t reg, const void* data, std::size_t size) noexcept {
  const utl_Crc32Function fastest = Fastest();
  chosen.store(fastest, std::memory_order_relaxed);
  return fastest(reg, data, size);
}

}  // namespace

std::uint32_t utl_crc32(std::uint32_t reg, const void* data, std::size_t size) noexcept {
  return chosen.load(std::memory_order_relaxed)(reg, data, size);
}

std::uint32_t utl_crc32Copy(std::uint32_t reg, void* to, const void* from,
                            std::size_t size) noexcept {
  constexpr std::size_t kBlock =
      std::size_t{16} * 1024;  // both blocks fit the first-level cache
  auto* target = static_cast<char*>(to);
  const auto* source = static_cast<const char*>(from);
  while (size > 0) {
    const std::size_t count = std::min(size, kBlock);
    std::memcpy(target, source, count);
    reg = utl_crc32(reg, source, count);
    target += count;
    source += count;
    size -= count;
  }
  return reg;
}

std::span<const utl_Crc32Kernel> utl_crc32Kernels() {
  return AllKernels();
}
