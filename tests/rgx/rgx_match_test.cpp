#include <gtest/gtest.h>
#include <pcre2.h>

#include <algorithm>
#include <limits>
#include <string>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_TextException.h"
#include "rgx/rgx_funcs.h"

namespace {

constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

cow_String Repeated(const char* text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return cow_String(all);
}

void ExpectExecError(const cow_String& pattern, const cow_String& subject, int number) {
  EXPECT_THROW_AT(rgx_match(pattern, subject), nex_TextException,
                  "rgx_match: exec error: " + std::to_string(number),
                  "rgx/impl/rgx_funcs", 72);
}

TEST(RgxMatchTest, FindsTheFirstPlace) {
  const rgx_ReIterator found = rgx_match("b+", "abbcb");
  EXPECT_TRUE(found.Matched());
  EXPECT_EQ(found.GroupCount(), 1);
  EXPECT_EQ(found.String(), "bb");
  EXPECT_EQ(found.NthString(0), "bb");
  EXPECT_EQ(found.NthString(-2), "a");
  EXPECT_EQ(found.NthString(-1), "cb");
}

TEST(RgxMatchTest, NoMatchIsNoError) {
  for (rgx_ReIterator none : {rgx_match("x", "abc"), rgx_ReIterator()}) {
    EXPECT_FALSE(none.Matched());
    EXPECT_EQ(none.GroupCount(), 0);
    EXPECT_EQ(none.String(), "");
    EXPECT_EQ(none.StringAsGroupNum(), 0);
    for (const int n : {kMin, -3, -2, -1, 0, 1, kMax}) {
      EXPECT_EQ(none.NthString(n), "") << n;
      none.SetCurrentGroup(n);
      EXPECT_EQ(none.String(), "") << n;
      EXPECT_EQ(none.StringAsGroupNum(), 0) << n;
    }
  }
}

TEST(RgxMatchTest, NoOptionIsSet) {
  EXPECT_FALSE(rgx_match("A", "a").Matched());
  EXPECT_FALSE(rgx_match("a.b", "a\nb").Matched());
  EXPECT_TRUE(rgx_match("a.b", "a\rb").Matched());
  EXPECT_FALSE(rgx_match("^b", "a\nb").Matched());
  EXPECT_FALSE(rgx_match("a$", "a\nb").Matched());
  EXPECT_TRUE(rgx_match("a$", "a\n").Matched());
  EXPECT_TRUE(rgx_match("(?i)A", "a").Matched());
  EXPECT_TRUE(rgx_match("[]a]", "a").Matched());
  EXPECT_EQ(rgx_match(".", "\xc3\xa4").String().Length(), 1);
}

TEST(RgxMatchTest, GroupsByNumber) {
  const rgx_ReIterator found = rgx_match("(a)(x)?(c*)(b)(y)?", "-ab-");
  EXPECT_EQ(found.GroupCount(), 5);  // the last group did not take part
  EXPECT_EQ(found.NthString(0), "ab");
  EXPECT_EQ(found.NthString(1), "a");
  EXPECT_EQ(found.NthString(2), "");
  EXPECT_EQ(found.NthString(3), "");
  EXPECT_EQ(found.NthString(4), "b");
  for (const int n : {kMin, -3, 5, 6, kMax}) {
    EXPECT_EQ(found.NthString(n), "") << n;
  }
}

TEST(RgxMatchTest, CurrentGroup) {
  rgx_ReIterator found = rgx_match("(\\d+)-(\\d+)", "12-34");
  EXPECT_EQ(found.String(), "12-34");
  EXPECT_EQ(found.StringAsGroupNum(), 12);
  found.SetCurrentGroup(2);
  EXPECT_EQ(found.String(), "34");
  EXPECT_EQ(found.StringAsGroupNum(), 34);
  EXPECT_EQ(found.NthString(1), "12");
  for (const int n : {kMin, -2, -1, 3, kMax}) {
    found.SetCurrentGroup(n);
    EXPECT_EQ(found.String(), "") << n;
    EXPECT_EQ(found.StringAsGroupNum(), 0) << n;
  }
  found.SetCurrentGroup(0);
  EXPECT_EQ(found.String(), "12-34");
}

TEST(RgxMatchTest, TextAsReference) {
  const struct {
    const char* text;
    int number;
  } cases[] = {{"&", 0},
               {"'", -1},
               {"`", -2},
               {"7", 7},
               {"012", 12},
               {" 3x", 3},
               {"-4", -4},
               {"+5", 5},
               {"x", 0},
               {"&1", 0},
               {"", 0},
               {"2147483647", kMax},
               {"2147483648", kMax},
               {"99999999999999999999", kMax},
               {"-99999999999999999999", kMin}};
  for (const auto& [text, number] : cases) {
    EXPECT_EQ(rgx_match("[^\"]*", text).StringAsGroupNum(), number) << text;
  }
}

TEST(RgxMatchTest, ACopyKeepsItsSubject) {
  rgx_ReIterator copy;
  {
    std::string subject = "key=value";
    const rgx_ReIterator found = rgx_match("=", subject.c_str());
    subject.assign("xxxxxxxxx");
    copy = found;
  }
  EXPECT_EQ(copy.NthString(-2), "key");
  EXPECT_EQ(copy.NthString(-1), "value");
}

TEST(RgxMatchTest, ZeroBytesEndSubjectAndPattern) {
  const cow_String subject("ab\0cd", 5);
  EXPECT_FALSE(rgx_match("c", subject).Matched());
  EXPECT_EQ(rgx_match("b$", subject).String(), "b");
  EXPECT_EQ(rgx_match("a", subject).NthString(-1), "b");
  EXPECT_EQ(rgx_match(cow_String("b\0c", 3), "abd").String(), "b");
  EXPECT_EQ(rgx_match("a", "ab\0cd").NthString(-1), "b");
  EXPECT_TRUE(rgx_match("^$", static_cast<const char*>(nullptr)).Matched());
  EXPECT_TRUE(rgx_match("", "").Matched());
}

TEST(RgxMatchTest, FortyGroups) {
  const cow_String subject = Repeated("ab", 20);
  for (const int groups : {14, 15, 16, 31, 32, 40, 200}) {
    const cow_String pattern =
        Repeated("(.)", std::min(groups, 40)) + Repeated("()", groups - 40);
    const rgx_ReIterator found = rgx_match(pattern, subject);
    EXPECT_EQ(found.GroupCount(), groups + 1);
    for (int n = 1; n <= groups; ++n) {
      const char* const odd = n % 2 == 1 ? "a" : "b";
      EXPECT_EQ(found.NthString(n), n > 40 ? "" : odd) << n;
    }
  }
  // A pattern with few groups after one with many.
  EXPECT_EQ(rgx_match("(a)", subject).GroupCount(), 2);
}

TEST(RgxMatchTest, TenMegabytes) {
  const cow_String subject = Repeated("0123456789", 1 << 20) + "needle";
  const rgx_ReIterator found = rgx_match("(n.*)e$", subject);
  EXPECT_EQ(found.NthString(1), "needl");
  EXPECT_EQ(found.NthString(-2).Length(), 10 << 20);
  EXPECT_EQ(rgx_match(".*", subject).String(), subject);
}

// A match that needs much memory gives it back, and its result is whole.
TEST(RgxMatchTest, MuchBacktracking) {
  const cow_String subject = Repeated("ab", 50000) + "c";
  const rgx_ReIterator found = rgx_match("(?:(a)|(b))*(c)", subject);
  EXPECT_EQ(found.String(), subject);
  EXPECT_EQ(found.NthString(1), "a");
  EXPECT_EQ(found.NthString(2), "b");
  EXPECT_EQ(found.NthString(3), "c");
}

TEST(RgxMatchTest, CompileErrors) {
  const struct {
    const char* pattern;
    const char* text;
  } cases[] = {
      {"a(b", "3: missing closing parenthesis"},
      {"ab)", "2: unmatched closing parenthesis"},
      {"*", "0: quantifier does not follow a repeatable item"},
      {"x[a", "3: missing terminating ] for character class"},
      {"a\\", "2: \\ at end of pattern"},
      {"x{2,1}", "5: numbers out of order in {} quantifier"},
      {"(a)\\2", "4: reference to non-existent subpattern"},
  };
  for (const auto& c : cases) {
    EXPECT_THROW_AT(rgx_match(c.pattern, "a"), nex_TextException,
                    std::string("rgx_match: error in regex at offset ") + c.text,
                    "rgx/impl/rgx_ReCompileCache", 92);
  }
}

TEST(RgxMatchTest, MatchLimit) {
  ExpectExecError("(a+)+$", Repeated("a", 40) + "b", PCRE2_ERROR_MATCHLIMIT);
  ExpectExecError("(*LIMIT_MATCH=2)(?:a|b)+c", "aabbbc", PCRE2_ERROR_MATCHLIMIT);
  EXPECT_EQ(rgx_match("(a+)+$", "aaa").String(), "aaa");
}

// The memory that earlier matches left, little enough to be kept or not, must not lift a
// pattern's own limit.
TEST(RgxMatchTest, HeapLimit) {
  for (const int repetitions : {100, 300, 1000, 3000}) {
    const cow_String subject = Repeated("ab", repetitions) + "c";
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(rgx_match("(?:(a)|(b))*(c)", subject).Matched());
      ExpectExecError("(*LIMIT_HEAP=30)(?:(a)|(b))*(c)", subject, PCRE2_ERROR_HEAPLIMIT);
      ExpectExecError("(*LIMIT_HEAP=0)(a)", "a", PCRE2_ERROR_HEAPLIMIT);
      EXPECT_EQ(rgx_match("(*LIMIT_HEAP=1000)(a)", "a").GroupCount(), 2);
    }
  }
}

TEST(RgxMatchTest, MalformedUtf8) {
  ExpectExecError("(*UTF).", "\xff", PCRE2_ERROR_UTF8_ERR21);
  EXPECT_EQ(rgx_match("(*UTF).", "\xc3\xa4").String().Length(), 2);
}

}  // namespace
