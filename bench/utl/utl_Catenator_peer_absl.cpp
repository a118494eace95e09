#include <absl/strings/str_cat.h>

#include <string>

#include "bench_work.h"
#include "utl_Catenator_works.h"

namespace {

std::string Appended(int pieces) {
  std::string text;
  for (int i = 0; i < pieces; ++i) {
    absl::StrAppend(
        &text,
        absl::string_view(kCatenatorText, static_cast<std::size_t>(CatenatorLength(i))));
  }
  return text;
}

const bench::Part part([] {
  for (const auto& [name, pieces] : kCatenatorWorks) {
    bench::Work(name).Coding("Abseil", [pieces = pieces] { return Appended(pieces); });
  }
});

}  // namespace
