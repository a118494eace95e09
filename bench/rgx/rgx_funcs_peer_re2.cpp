#include <re2/re2.h>

#include <string>

#include "bench_work.h"

namespace {

const bench::Part part([] {
  static const re2::RE2 pattern("(\\w+)=(\\d+)");
  bench::Work("match and one group")
      .Coding("RE2", [subject = std::string("the cpus=4 of it")] {
        std::string number;
        re2::RE2::PartialMatch(subject, pattern, static_cast<void*>(nullptr), &number);
        return number;
      });
});

}  // namespace
