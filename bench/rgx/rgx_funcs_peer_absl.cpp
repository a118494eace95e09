#include <absl/strings/str_split.h>

#include <string>
#include <vector>

#include "bench_work.h"
#include "rgx_funcs_works.h"

namespace {

std::vector<std::string> Split(const std::string& line) {
  return absl::StrSplit(line, ',');
}

const bench::Part part([] {
  for (const auto& [name, fields] : kSplitWorks) {
    const std::string line = SplitLine(fields);
    bench::Work(name).Coding(
        "Abseil to std::string", [line] { return Split(line); },
        [line] { return JoinedFields(Split(line)); });
  }
});

}  // namespace
