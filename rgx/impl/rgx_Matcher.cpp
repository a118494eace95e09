#include "rgx/impl/rgx_Matcher.h"

#include <pcre2.h>

#include <algorithm>
#include <new>
#include <type_traits>

static_assert(std::is_same_v<PCRE2_SIZE, std::size_t>);

namespace {

// Pairs of offsets at first; doubled for a pattern with more groups.
constexpr std::uint32_t kFirstPairs = 16;

// A match that backtracks a lot takes gigabytes. A larger block than this is freed after
// the match.
constexpr std::size_t kLargestKept = 1 << 20;

template <auto release>
struct Releaser {
  template <class T>
  void operator()(T* object) const {
    release(object);
  }
};
using GeneralContext =
    std::unique_ptr<pcre2_general_context, Releaser<&pcre2_general_context_free>>;
using CompileContext =
    std::unique_ptr<pcre2_compile_context, Releaser<&pcre2_compile_context_free>>;
using MatchData = std::unique_ptr<pcre2_match_data, Releaser<&pcre2_match_data_free>>;
using Code = std::unique_ptr<pcre2_code, Releaser<&pcre2_code_free>>;

// `largest`, when it is not null, keeps the size of the largest block.
void* Allocate(std::size_t size, void* largest) {
  if (largest != nullptr) {
    auto& known = *static_cast<std::size_t*>(largest);
    known = std::max(known, size);
  }
  return ::operator new(size, std::nothrow);
}

void Free(void* block, void*) {
  ::operator delete(block);
}

template <class T>
T* Made(T* object) {
  return object != nullptr ? object : throw std::bad_alloc();
}

GeneralContext MakeGeneralContext(std::size_t* largest) {
  return GeneralContext(Made(pcre2_general_context_create(Allocate, Free, largest)));
}

// The newline is a line feed whatever PCRE2 was built for.
CompileContext MakeCompileContext() {
  const GeneralContext general = MakeGeneralContext(nullptr);
  CompileContext context(Made(pcre2_compile_context_create(general.get())));
  pcre2_set_newline(context.get(), PCRE2_NEWLINE_LF);
  return context;
}

rgx_CompileError MakeError(int code, std::size_t offset) {
  PCRE2_UCHAR text[256];
  pcre2_get_error_message(code, text, sizeof(text));
  return {static_cast<int>(offset), reinterpret_cast<const char*>(text)};
}

}  // namespace

class rgx_CompiledPattern {
 public:
  rgx_CompiledPattern(Code code, std::string_view pattern)
      : code_(std::move(code)),
        literal_(pattern.find_first_of("\\^$.[|()?*+{") == std::string_view::npos
                     ? pattern
                     : std::string_view()) {
    std::uint32_t limit;
    limitsHeap_ = pcre2_pattern_info(code_.get(), PCRE2_INFO_HEAPLIMIT, &limit) == 0;
  }

  const pcre2_code* Get() const noexcept { return code_.get(); }

  // See rgx_literal.
  const std::string& Literal() const noexcept { return literal_; }

  // "(*LIMIT_HEAP=n)": such a pattern must not get memory that was allocated before.
  bool LimitsHeap() const noexcept { return limitsHeap_; }

 private:
  Code code_;
  std::string literal_;
  bool limitsHeap_;
};

std::shared_ptr<const rgx_CompiledPattern> rgx_compile(const char* pattern,
                                                       rgx_CompileError& error) {
  const CompileContext context = MakeCompileContext();
  int errorCode;
  PCRE2_SIZE offset;
  Code code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED, 0,
                          &errorCode, &offset, context.get()));
  if (code == nullptr) {
    error = MakeError(errorCode, offset);
    return nullptr;
  }
  return std::make_shared<const rgx_CompiledPattern>(std::move(code), pattern);
}

std::string_view rgx_literal(const rgx_CompiledPattern& pattern) noexcept {
  return pattern.Literal();
}

// What a match works on.
struct rgx_Matcher::Workspace {
  explicit Workspace(std::uint32_t count)
      : pairs(count),
        data(Made(
            pcre2_match_data_create(count, MakeGeneralContext(&largestBlock).get()))),
        offsets(pcre2_get_ovector_pointer(data.get())) {}

  int Match(const rgx_CompiledPattern& pattern, std::string_view subject) {
    return pcre2_match(pattern.Get(), reinterpret_cast<PCRE2_SPTR>(subject.data()),
                       subject.size(), 0, 0, data.get(), nullptr);
  }

  int MatchLiteral(std::string_view literal, std::string_view subject) {
    offsets[0] = subject.find(literal);
    offsets[1] = offsets[0] + literal.size();
    return offsets[0] == std::string_view::npos ? PCRE2_ERROR_NOMATCH : 1;
  }

  std::uint32_t pairs;
  std::size_t largestBlock = 0;
  MatchData data;
  std::size_t* offsets;
};

rgx_Matcher::rgx_Matcher() : workspace_(std::make_unique<Workspace>(kFirstPairs)) {}

rgx_Matcher::~rgx_Matcher() = default;

int rgx_Matcher::Match(const rgx_CompiledPattern& pattern, std::string_view subject) {
  if (!pattern.Literal().empty()) {
    return workspace_->MatchLiteral(pattern.Literal(), subject);
  }
  if (pattern.LimitsHeap()) {
    workspace_ = std::make_unique<Workspace>(workspace_->pairs);
  }
  int groups = workspace_->Match(pattern, subject);
  while (groups == 0) {
    workspace_ = std::make_unique<Workspace>(2 * workspace_->pairs);
    groups = workspace_->Match(pattern, subject);
  }
  if (workspace_->largestBlock > kLargestKept) {
    auto fresh = std::make_unique<Workspace>(workspace_->pairs);
    std::copy_n(workspace_->offsets, 2 * workspace_->pairs, fresh->offsets);
    workspace_ = std::move(fresh);
  }
  return groups;
}

const std::size_t* rgx_Matcher::Offsets() const noexcept {
  return workspace_->offsets;
}
