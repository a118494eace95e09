#include <fmt/compile.h>

#include <string>

#include "bench_work.h"
#include "utl_Stream_works.h"

namespace {

// `format` is called with a buffer and a value, and returns the text's end.
template <class Value, class Format>
void Add(const NumberWork<Value>& about, Format format) {
  bench::Work(about.name)
      .Coding(
          "{fmt}",
          [values = about.values, at = std::size_t{0}, format]() mutable {
            char buffer[80];
            char* const end = format(buffer, values[at++ % kNumbers]);
            benchmark::DoNotOptimize(buffer);
            return end - buffer;
          },
          [about, format] {
            std::string text;
            for (const Value value : about.values) {
              char buffer[80];
              text += about.InStyle(std::string(buffer, format(buffer, value)));
            }
            return text;
          });
}

const bench::Part part([] {
  for (const NumberWork<double>& about : RealWorks()) {
    Add(about, [](char* to, double value) {
      return fmt::format_to(to, FMT_COMPILE("{:.15g}"), value);
    });
  }
  Add(IntWork(),
      [](char* to, int value) { return fmt::format_to(to, FMT_COMPILE("{}"), value); });
});

}  // namespace
