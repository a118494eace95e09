#include <re2/re2.h>

#include <string>

#include "bench_work.h"

namespace {

const bench::Part part([] {
  static const re2::RE2 pattern("^[a-zA-Z\\+\\.-]+://(?:[^@]+@)?([a-zA-Z0-9\\.-]+)");
  const std::string url("kstrdb://user@node-7:4000/db/file?x=1");
  bench::Work("URL host: match").Coding("RE2", [url] {
    return re2::RE2::PartialMatch(url, pattern);
  });
  bench::Work("URL host: text").Coding("RE2", [url] {
    std::string host;
    re2::RE2::PartialMatch(url, pattern, &host);
    return host;
  });
});

}  // namespace
