#include "rgx/rgx_ReCompileCache.h"

#include "atr/atr_translate.h"
#include "nex/nex_TextException.h"
#include "rgx/impl/rgx_DigitalTree.h"
#include "rgx/impl/rgx_Matcher.h"

template class thr_ThreadSingleton<rgx_ReCompileCache>;

namespace {

constexpr char kSource[] = "rgx/impl/rgx_ReCompileCache";

// The line that callers know this failure by.
constexpr int kCompileErrorLine = 92;

constexpr int kCapacity = 100;

[[noreturn]] void ThrowCompileError(const rgx_CompileError& error) {
  atr_translate text("rgx_match: error in regex at offset %s: %s");
  atr_SubstituteFormat(text, 1, error.offset);
  atr_SubstituteFormat(text, 2, error.text);
  nex_TextException(text.Result()).Throw(kSource, kCompileErrorLine);
}

}  // namespace

rgx_ReCompileCache::rgx_ReCompileCache()
    : capacity_(kCapacity),
      patterns_(new rgx_DigitalTree<std::shared_ptr<const rgx_CompiledPattern>>),
      matcher_(new rgx_Matcher) {}

rgx_ReCompileCache::~rgx_ReCompileCache() = default;

int rgx_ReCompileCache::Size() const noexcept {
  return patterns_->Size();
}

bool rgx_ReCompileCache::IsMember(const cow_String& pattern) const {
  return patterns_->Find(pattern) != nullptr;
}

const rgx_CompiledPattern& rgx_ReCompileCache::Compiled(const cow_String& pattern) {
  if (const auto* known = patterns_->Find(pattern)) {
    return **known;
  }
  rgx_CompileError error;
  std::shared_ptr<const rgx_CompiledPattern> fresh = rgx_compile(pattern.c_str(), error);
  if (fresh == nullptr) {
    ThrowCompileError(error);
  }
  if (Size() == capacity_) {
    Evict();
  }
  return *patterns_->Insert(pattern, std::move(fresh));
}

// A removal moves keys to other nodes, so the keys are listed before any is removed.
void rgx_ReCompileCache::Evict() {
  std::vector<cow_String> keys = patterns_->Keys();
  keys.resize(static_cast<std::size_t>(capacity_ / 2));
  for (const cow_String& key : keys) {
    patterns_->Remove(key);
  }
}
