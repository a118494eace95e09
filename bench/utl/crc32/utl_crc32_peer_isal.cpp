#include <isa-l/crc.h>

#include <string>

#include "bench_work.h"
#include "utl_crc32_works.h"

namespace {

// ISA-L's function inverts the register before and after.
std::uint32_t Crc(std::string& bytes) {
  return ~crc32_ieee(0, reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
}

const bench::Part part([] {
  for (const auto& [name, size] : kCrc32Works) {
    bench::Work(name).Coding(
        "ISA-L", [bytes = bench::RandomBytes(size)]() mutable { return Crc(bytes); });
  }
});

}  // namespace
