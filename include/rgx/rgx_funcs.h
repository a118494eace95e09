// Perl-style regular expressions over cow_String: match, split, join, substitute.
//
// Patterns are those of PCRE2 without any option: letter case counts, "." stops at a line
// feed, "^" and "$" stand for the ends of the subject, "$" also for the place before a
// line feed that ends it (an option written into the pattern, like "(?i)", works). The
// first use of a pattern in a thread compiles it; see rgx_ReCompileCache.
//
// A pattern, and a subject while it is searched, end at their first zero byte.
//
// Every function that takes a pattern throws nex_TextException
// - with "rgx_match: error in regex at offset N: TEXT" when it does not compile, where N
//   is the position in the pattern and TEXT is PCRE2's message;
// - with "rgx_match: exec error: N" when the search fails, where N is PCRE2's negative
//   number: -47 for a pattern that takes too many attempts (the match limit).
//
// Threads: any; threads share nothing.

#pragma once

#include "cow/cow_1DArrayList.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "rgx/rgx_ReIterator.h"

/// Start and end of the regular-expression layer, to be called in pairs. The first start
/// adds one to `count`, the caller's counter, and makes the calling thread's cache of
/// patterns; the end that matches it takes one off and destroys that cache. Other
/// threads' caches are made on first use and destroyed with their thread.
/// Threads: for start-up and shut-down, one thread.
KSTUTL_EXPORT void rgx_initialize(int& count);
KSTUTL_EXPORT void rgx_finalize(int& count);

/// Finds the first place where `pattern` matches. No match is not an error: the result
/// says so.
///
///     rgx_match("b+", "abbc").String();   // "bb"
KSTUTL_EXPORT rgx_ReIterator rgx_match(const cow_String& pattern,
                                       const cow_String& subject);
/// The same for a terminated subject; null reads as "".
KSTUTL_EXPORT rgx_ReIterator rgx_match(const cow_String& pattern, const char* subject);

/// The fields of `subject` between the matches of `pattern`; without a match one field,
/// the whole subject.
///
/// After each match the search starts anew on the remaining text as if that were all:
/// "^" matches at its start. No empty field is made before a match, so that a run of
/// separators counts as one, but after the last match there is always a field:
///
///     rgx_split(",", "a,,b");   // "a", "b"
///     rgx_split(",", ",a,");    // "a", ""
///
/// Throws nex_TextException with "rgx_split: pattern matches the empty string" when a
/// match ends where the remaining text starts, since the search would never advance; the
/// remaining text may be empty itself. No match is found after a zero byte: all text from
/// there on belongs to the last field.
KSTUTL_EXPORT cow_1DArrayList<cow_String> rgx_split(const cow_String& pattern,
                                                    const cow_String& subject);

/// The items with `separator` between them; "" for no items.
/// Throws std::length_error when the result is longer than 2,147,483,647 bytes.
///
///     rgx_join(rgx_split(" +", "a  b"), "-");   // "a-b"
KSTUTL_EXPORT cow_String rgx_join(const cow_1DArrayList<cow_String>& items,
                                  const cow_String& separator);

/// `subject` with its first `count` matches of `pattern` replaced; unchanged when there
/// is no match or `count` is below 1.
///
/// In the replacement "$1" to "$9", and longer runs of the digits 1 to 9, stand for that
/// group, "$&" for the match, "$`" for the text before it, "$'" for the text after it; a
/// group that the match does not have is "". Zero is no such digit: "$10" is group 1 and
/// a "0", "$0" stays as it is. References name the groups of the FIRST match at every
/// place: the replacement is made once. As in rgx_split each search starts anew on the
/// remaining text. After an empty match the next character is copied and skipped:
///
///     rgx_subn("(a|b)=", "<$1>", "a=1 b=2", 9);   // "<a>1 <a>2"
///     rgx_subn("x*", "-", "abc", 10);             // "-a-b-c-"
///
/// Throws std::length_error when the result is longer than 2,147,483,647 bytes.
KSTUTL_EXPORT cow_String rgx_subn(const cow_String& pattern,
                                  const cow_String& replacement,
                                  const cow_String& subject, int count);
