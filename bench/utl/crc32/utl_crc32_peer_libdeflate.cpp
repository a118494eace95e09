// The reflected polynomial, which costs the same.

#include <libdeflate.h>

#include "bench_work.h"

namespace {

const bench::Part part([] {
  for (const char* const kernel : {"pclmul", "vpclmul"}) {
    bench::Work(std::string("CRC-32 16 KB by ") + kernel)
        .Measured("libdeflate", [bytes = bench::RandomBytes(16384)] {
          return libdeflate_crc32(0, bytes.data(), bytes.size());
        });
  }
});

}  // namespace
