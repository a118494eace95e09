#include "rgx/impl/rgx_search.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "atr/atr_translate.h"
#include "nex/nex_TextException.h"
#include "rgx/impl/rgx_Matcher.h"
#include "rgx/rgx_ReCompileCache.h"

namespace {

// The source and line that callers know a failing search by.
constexpr char kSource[] = "rgx/impl/rgx_funcs";
constexpr int kExecErrorLine = 72;

[[noreturn]] void ThrowExecError(int error) {
  atr_translate text("rgx_match: exec error: %s");
  atr_SubstituteFormat(text, 1, error);
  nex_TextException(text.Result()).Throw(kSource, kExecErrorLine);
}

}  // namespace

std::string_view rgx_Found::Text(int n) const noexcept {
  const std::size_t* const pair = offsets_ + std::ptrdiff_t{2} * n;
  return subject_.substr(pair[0], pair[1] - pair[0]);
}

rgx_Search::rgx_Search(const cow_String& pattern)
    : rgx_Search(pattern, thr_ThreadSingleton<rgx_ReCompileCache>::Instance()) {}

rgx_Search::rgx_Search(const cow_String& pattern, rgx_ReCompileCache& cache)
    : pattern_(cache.Compiled(pattern)), matcher_(cache.Matcher()) {}

rgx_Found rgx_Search::In(std::string_view subject) const {
  const int groups = matcher_.Match(pattern_, subject);
  if (groups < -1) {
    ThrowExecError(groups);
  }
  return {subject, matcher_.Offsets(), std::max(groups, 0)};
}

std::string_view rgx_Search::Literal() const noexcept {
  return rgx_literal(pattern_);
}

std::string_view rgx_upToZero(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

int rgx_referenceNumber(std::string_view reference) {
  if (reference == "&") {
    return 0;
  }
  if (reference == "'") {
    return -1;
  }
  if (reference == "`") {
    return -2;
  }
  const long long number = std::strtoll(std::string(reference).c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long long>(number, std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}
