#pragma once

#include <cstddef>

#include "cow/cow_1DArray.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// What a match found: the texts of the pattern's groups and those around the match.
/// Group 0 is the whole match, group n the n-th parenthesis of the pattern. Made by
/// rgx_match. It owns a copy of the subject, and copies of it are cheap.
///
/// Where nothing matched, every text below is empty and every number 0.
///
/// Threads: as for a plain value.
///
///     rgx_ReIterator found = rgx_match("(\\w+)=(\\w+)", "set cpus=4 now");
///     if (found.Matched()) {
///       found.NthString(1);    // "cpus"
///       found.NthString(-1);   // " now"
///     }
class KSTUTL_EXPORT rgx_ReIterator {
 public:
  /// Nothing matched.
  rgx_ReIterator() = default;
  /// The first `groupCount` groups of a match in `subject`: start and end of group 0, of
  /// group 1, ..., each in bytes from the start of the subject; both are the largest
  /// std::size_t for a group that did not take part. For rgx_match.
  /// REQUIRES: 2 * groupCount offsets.
  rgx_ReIterator(cow_String subject, const std::size_t* offsets, int groupCount);

  /// Whether the pattern matched.
  bool Matched() const noexcept { return matched_; }

  /// One more than the number of the last group that took part; 0 without a match. A
  /// pattern may have more groups than that: "(a)|(b)" on "a" gives 2.
  int GroupCount() const noexcept { return groupCount_; }

  /// Chooses the group that String and StringAsGroupNum read; 0 at first. For a number
  /// outside 0 <= n < GroupCount() these give "" and 0.
  void SetCurrentGroup(int n) noexcept;

  /// The text of the current group; "" for a group that did not take part.
  cow_String String() const;

  /// The current group's text read as a reference of a replacement text: "&" is 0, "'"
  /// is -1, "`" is -2 (numbers for NthString), all else the decimal number that it starts
  /// with, as `atoi` reads it, or the nearest int. 0 when the text is empty.
  int StringAsGroupNum() const;

  /// The text of group n, whatever the current group is. -2 stands for the text before
  /// the match, -1 for the text after it; every other number outside the groups gives
  /// "".
  cow_String NthString(int n) const;

  // The rest is implementation.

 private:
  cow_String Between(int start, int end) const;

  cow_String subject_;
  int current_ = 0;  // perhaps no group of the match
  cow_1DArray<int> offsets_;
  int groupCount_ = 0;
  bool matched_ = false;
};
