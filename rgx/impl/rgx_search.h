// The search under every function of the layer, without the copies that a result for
// callers needs.

#pragma once

#include <cstddef>
#include <string_view>

#include "cow/cow_String.h"

class rgx_CompiledPattern;
class rgx_Matcher;
class rgx_ReCompileCache;

/// Where a match lies in its subject. It refers to memory of the calling thread that the
/// thread's next search changes, and to the subject.
class rgx_Found {
 public:
  rgx_Found(std::string_view subject, const std::size_t* offsets, int groupCount)
      : subject_(subject), offsets_(offsets), groupCount_(groupCount) {}

  bool Matched() const noexcept { return groupCount_ > 0; }
  int GroupCount() const noexcept { return groupCount_; }
  const std::size_t* Offsets() const noexcept { return offsets_; }

  /// Start and end of the whole match. REQUIRES: Matched().
  std::size_t Start() const noexcept { return offsets_[0]; }
  std::size_t End() const noexcept { return offsets_[1]; }

  /// The text of group n. REQUIRES: Matched(), and the group took part in the match.
  std::string_view Text(int n) const noexcept;

 private:
  std::string_view subject_;
  const std::size_t* offsets_;
  int groupCount_;  // 0 when nothing matched
};

/// One pattern, to be searched several times. Valid until the calling thread uses another
/// pattern.
class rgx_Search {
 public:
  /// Throws as rgx_match.
  explicit rgx_Search(const cow_String& pattern);

  /// Searches the whole `subject`, zero bytes included. Throws as rgx_match.
  rgx_Found In(std::string_view subject) const;

  /// As rgx_literal.
  std::string_view Literal() const noexcept;

 private:
  rgx_Search(const cow_String& pattern, rgx_ReCompileCache& cache);

  const rgx_CompiledPattern& pattern_;
  rgx_Matcher& matcher_;
};

/// Searches once.
inline rgx_Found rgx_search(const cow_String& pattern, std::string_view subject) {
  return rgx_Search(pattern).In(subject);
}

/// The text before the first zero byte.
std::string_view rgx_upToZero(std::string_view text);

/// What a reference in a replacement text stands for: see rgx_ReIterator.
int rgx_referenceNumber(std::string_view reference);
