// The only access to PCRE2: compiled patterns and their matching.

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

/// A compiled pattern, defined in rgx_Matcher.cpp.
/// Threads: one pattern by one thread at a time.
class rgx_CompiledPattern;

/// Why a pattern did not compile.
struct rgx_CompileError {
  int offset = 0;    ///< Where in the pattern, in bytes.
  std::string text;  ///< PCRE2's message.
};

/// Compiles `pattern` without options; null, with `error` set, when it is malformed.
/// Throws std::bad_alloc.
std::shared_ptr<const rgx_CompiledPattern> rgx_compile(const char* pattern,
                                                       rgx_CompileError& error);

/// The text that the pattern stands for when no character in it has a special meaning;
/// empty for other patterns.
std::string_view rgx_literal(const rgx_CompiledPattern& pattern) noexcept;

/// Runs compiled patterns, and keeps the memory that a match needs for the next one.
/// Threads: one thread.
class rgx_Matcher {
 public:
  rgx_Matcher();
  rgx_Matcher(const rgx_Matcher&) = delete;
  rgx_Matcher& operator=(const rgx_Matcher&) = delete;
  ~rgx_Matcher();

  /// Searches `subject`: the number of groups found (one more than that of the last group
  /// that took part), -1 when nothing matches, another negative number for an error.
  /// Throws std::bad_alloc.
  int Match(const rgx_CompiledPattern& pattern, std::string_view subject);

  /// Start and end of each group found by the last successful match, the largest
  /// std::size_t for one that did not take part; valid until the next match.
  const std::size_t* Offsets() const noexcept;

 private:
  struct Workspace;

  std::unique_ptr<Workspace> workspace_;
};
