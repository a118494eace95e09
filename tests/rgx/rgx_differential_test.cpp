// The layer against PCRE2 called directly, with nothing kept from one call to the next.

#include <gtest/gtest.h>
#include <pcre2.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_TextException.h"
#include "rgx/rgx_funcs.h"

namespace {

struct Match {
  std::vector<std::size_t> offsets;  // two a group found
  std::string subject;

  std::string Group(int n) const {
    const auto at = 2 * static_cast<std::size_t>(n);
    return offsets[at] < offsets[at + 1]
               ? subject.substr(offsets[at], offsets[at + 1] - offsets[at])
               : "";
  }
  std::string Nth(long long n) const {
    if (n == -2) {
      return subject.substr(0, offsets[0]);
    }
    if (n == -1) {
      return subject.substr(offsets[1]);
    }
    return n >= 0 && n < static_cast<long long>(offsets.size() / 2)
               ? Group(static_cast<int>(n))
               : "";
  }
};

class Engine {
 public:
  explicit Engine(const std::string& pattern) {
    code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.c_str()),
                              pattern.size(), 0, &error_, &offset_, nullptr));
  }

  bool IsValid() const { return code_ != nullptr; }

  // What is said of a pattern that is not valid.
  std::string Refusal() const {
    PCRE2_UCHAR text[256] = {};
    pcre2_get_error_message(error_, text, sizeof text);
    return "rgx_match: error in regex at offset " + std::to_string(offset_) + ": " +
           reinterpret_cast<const char*>(text);
  }

  struct Result {
    int error;  // 0 for a match or none
    std::optional<Match> match;
  };

  // Searches the text before the first zero byte.
  Result Run(const std::string& text) const {
    const std::string subject = text.substr(0, text.find('\0'));
    const std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data(
        pcre2_match_data_create_from_pattern(code_.get(), nullptr),
        pcre2_match_data_free);
    const int groups =
        pcre2_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(subject.c_str()),
                    subject.size(), 0, 0, data.get(), nullptr);
    if (groups < 0) {
      return {groups == PCRE2_ERROR_NOMATCH ? 0 : groups, std::nullopt};
    }
    const PCRE2_SIZE* const offsets = pcre2_get_ovector_pointer(data.get());
    return {0, Match{{offsets, offsets + std::ptrdiff_t{2} * groups}, subject}};
  }

  std::optional<Match> Find(const std::string& text) const {
    const Result result = Run(text);
    EXPECT_EQ(result.error, 0);
    return result.match;
  }

 private:
  int error_ = 0;
  PCRE2_SIZE offset_ = 0;
  std::unique_ptr<pcre2_code, decltype(&pcre2_code_free)> code_{nullptr, pcre2_code_free};
};

// None where the split would never end.
std::optional<std::vector<std::string>> Split(const Engine& engine,
                                              const std::string& subject) {
  std::vector<std::string> fields;
  std::string rest = subject;
  while (const std::optional<Match> match = engine.Find(rest)) {
    const std::size_t start = match->offsets[0];
    const std::size_t end = match->offsets[1];
    if (end == 0) {
      return std::nullopt;
    }
    if (start > 0) {
      fields.push_back(rest.substr(0, start));
    }
    rest = rest.substr(end);
  }
  fields.push_back(rest);
  return fields;
}

std::string Expand(const std::string& replacement, const Match& first) {
  std::string text;
  for (std::size_t i = 0; i < replacement.size(); ++i) {
    const std::size_t digits =
        std::min(replacement.find_first_not_of("123456789", i + 1), replacement.size());
    const char next = i + 1 < replacement.size() ? replacement[i + 1] : '\0';
    if (replacement[i] != '$') {
      text += replacement[i];
    } else if (digits > i + 1) {
      text += first.Nth(std::stoll(replacement.substr(i + 1, digits - i - 1)));
      i = digits - 1;
    } else if (next == '&' || next == '`' || next == '\'') {
      text += first.Nth(next == '&' ? 0 : next == '`' ? -2 : -1);
      ++i;
    } else {
      text += '$';
    }
  }
  return text;
}

std::string Subn(const Engine& engine, const std::string& replacement,
                 const std::string& subject, int count) {
  std::optional<Match> match = engine.Find(subject);
  if (!match || count < 1) {
    return subject;
  }
  const std::string inserted = Expand(replacement, *match);
  std::string text;
  std::string rest = subject;
  for (int done = 0; match && done < count; match = engine.Find(rest)) {
    const std::size_t start = match->offsets[0];
    std::size_t end = match->offsets[1];
    if (start > 0 && !rest.empty()) {
      text += rest.substr(0, start) + inserted;
    } else if (start == 0 && end == 0 && !rest.empty()) {
      text += inserted + rest[0];
      end = 1;
    } else {
      text += inserted;
    }
    if (rest.empty()) {
      break;
    }
    rest = rest.substr(end);
    ++done;
  }
  return text + rest;
}

// Random patterns and texts of a small grammar.
class Source {
 public:
  explicit Source(unsigned seed) : random_(seed) {}

  int Below(int limit) {
    return static_cast<int>(random_() % static_cast<unsigned>(limit));
  }

  std::string Pattern(int depth = 0) {
    std::string pattern = Sequence(depth);
    while (Below(4) == 0) {
      pattern += '|' + Sequence(depth);
    }
    return pattern;
  }

  std::string Text(const std::string& alphabet, int longest) {
    std::string text(static_cast<std::size_t>(Below(longest + 1)), ' ');
    for (char& c : text) {
      c = alphabet[static_cast<std::size_t>(Below(static_cast<int>(alphabet.size())))];
    }
    return text;
  }

 private:
  std::string Sequence(int depth) {
    std::string sequence;
    for (int i = Below(4); i >= 0; --i) {
      sequence += Atom(depth) + kQuantifiers[Below(16)];
    }
    return sequence;
  }

  std::string Atom(int depth) {
    if (depth < 3 && Below(3) == 0) {
      return kOpenings[Below(8)] + Pattern(depth + 1) + ")";
    }
    return kAtoms[Below(16)];
  }

  static constexpr const char* kQuantifiers[16] = {
      "", "", "", "", "", "", "", "", "*", "*", "+", "+", "?", "*?", "{2}", "{0,2}"};
  static constexpr const char* kOpenings[8] = {"(",   "(",   "(",   "(",
                                               "(?:", "(?=", "(?!", "(?<n>"};
  static constexpr const char* kAtoms[16] = {"a", "a", "b",    "b",    ",",   ",",
                                             "c", ".", "[ab]", "[^a]", "\\w", "\\b",
                                             "^", "$", "\\1",  ","};

  std::mt19937 random_;
};

void CompareGroups(const cow_String& pattern, const Engine& engine,
                   const std::string& subject) {
  const rgx_ReIterator found = rgx_match(pattern, cow_String(subject));
  const std::optional<Match> expected = engine.Find(subject);
  ASSERT_EQ(found.Matched(), expected.has_value());
  if (!expected) {
    return;
  }
  const int groups = static_cast<int>(expected->offsets.size() / 2);
  ASSERT_EQ(found.GroupCount(), groups);
  for (int n = -3; n <= groups; ++n) {
    ASSERT_EQ(found.NthString(n), expected->Nth(n)) << "group " << n;
    rgx_ReIterator chosen = found;
    chosen.SetCurrentGroup(n);
    ASSERT_EQ(chosen.String(), n >= 0 ? expected->Nth(n) : "") << "group " << n;
  }
}

void CompareSplit(const cow_String& pattern, const Engine& engine,
                  const std::string& subject) {
  const auto expected = Split(engine, subject);
  if (!expected) {
    EXPECT_THROW_TEXT(rgx_split(pattern, cow_String(subject)), nex_TextException,
                      "rgx_split: pattern matches the empty string");
    return;
  }
  std::vector<std::string> fields;
  for (const cow_String& field : rgx_split(pattern, cow_String(subject))) {
    fields.emplace_back(std::string_view(field));
  }
  ASSERT_EQ(fields, *expected);
}

void CompareAll(const std::string& pattern, const std::string& subject) {
  SCOPED_TRACE(testing::PrintToString(pattern));
  const Engine engine(pattern);
  if (!engine.IsValid()) {
    EXPECT_THROW_TEXT(rgx_match(cow_String(pattern), cow_String(subject)),
                      nex_TextException, engine.Refusal());
    return;
  }
  CompareGroups(cow_String(pattern), engine, subject);
  CompareSplit(cow_String(pattern), engine, subject);
}

// Patterns without a special character are found without the engine.
TEST(RgxDifferentialTest, EveryByteInAPattern) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string c(1, static_cast<char>(byte));
    const std::string subject = "xa" + c + "bab" + c + c + "ax,a{1}b" + c + "a";
    for (const std::string& pattern :
         {c, "a" + c, c + "a", "a" + c + "b", c + c, "{" + c + "}", c + "1}"}) {
      CompareAll(pattern, subject);
      CompareAll(pattern, "ab");
      CompareAll(pattern, "");
    }
  }
}

TEST(RgxDifferentialTest, LongPatternsWithoutSpecialCharacters) {
  for (const std::size_t length : {1000u, 60000u, 70000u}) {
    const std::string pattern(length, 'a');
    CompareAll(pattern, "b" + pattern + "b" + pattern.substr(1));
    CompareAll(pattern, pattern.substr(1));
  }
}

// In four runs, so that they may go side by side: 100,000 comparisons in all.
class RgxRandomPatternsTest : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Seeds, RgxRandomPatternsTest, testing::Range(1U, 5U));

TEST_P(RgxRandomPatternsTest, AndSubjects) {
  Source source(GetParam());
  int compared = 0;
  while (compared < 25000) {
    const std::string pattern = source.Pattern();
    const std::string subject = source.Text(std::string("aaabbb,,,cc \n\0", 14), 12);
    const std::string replacement = source.Text("$$$$1239&`'0ax", 8);
    const int count = source.Below(8) - 1;
    SCOPED_TRACE(testing::Message()
                 << "pattern \"" << pattern << "\", subject \""
                 << testing::PrintToString(subject) << "\", replacement \"" << replacement
                 << "\", count " << count);
    const Engine engine(pattern);
    if (!engine.IsValid()) {
      EXPECT_THROW_TEXT(rgx_match(cow_String(pattern), ""), nex_TextException,
                        engine.Refusal());
      continue;
    }
    ++compared;
    if (const int error = engine.Run(subject).error; error < 0) {
      EXPECT_THROW_TEXT(rgx_match(cow_String(pattern), cow_String(subject)),
                        nex_TextException,
                        "rgx_match: exec error: " + std::to_string(error));
      continue;
    }
    CompareGroups(cow_String(pattern), engine, subject);
    CompareSplit(cow_String(pattern), engine, subject);
    ASSERT_EQ(rgx_subn(cow_String(pattern), cow_String(replacement), cow_String(subject),
                       count),
              Subn(engine, replacement, subject, count));
    if (HasFailure()) {
      return;
    }
  }
}

}  // namespace
