#include "rgx/rgx_funcs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_TextException.h"
#include "rgx/rgx_ReCompileCache.h"

namespace {

using namespace std::string_literals;
using testing::ElementsAre;

constexpr int kMax = std::numeric_limits<int>::max();

std::vector<std::string> Split(const cow_String& pattern, const std::string& subject) {
  std::vector<std::string> fields;
  for (const cow_String& field : rgx_split(pattern, cow_String(subject))) {
    fields.emplace_back(std::string_view(field));
  }
  return fields;
}

std::string Subn(const cow_String& pattern, const std::string& replacement,
                 const std::string& subject, int count = kMax) {
  return std::string(std::string_view(
      rgx_subn(pattern, cow_String(replacement), cow_String(subject), count)));
}

cow_1DArrayList<cow_String> List(std::initializer_list<const char*> items) {
  cow_1DArrayList<cow_String> list;
  for (const char* item : items) {
    list.Append(item);
  }
  return list;
}

void ExpectNeverEnds(const cow_String& pattern, const std::string& subject) {
  EXPECT_THROW_FROM(Split(pattern, subject), nex_TextException,
                    "rgx_split: pattern matches the empty string", "rgx/impl/rgx_funcs");
}

TEST(RgxSplitTest, FieldsBetweenMatches) {
  EXPECT_THAT(Split(",", "a,b,c"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(Split(" *, *", "a , b ,c"), ElementsAre("a", "b", "c"));
}

TEST(RgxSplitTest, NoEmptyFieldBeforeAMatch) {
  EXPECT_THAT(Split(",", "a,,b"), ElementsAre("a", "b"));
  EXPECT_THAT(Split(",", ",a"), ElementsAre("a"));
}

TEST(RgxSplitTest, AlwaysAFieldBehindTheLastMatch) {
  EXPECT_THAT(Split(",", "a,"), ElementsAre("a", ""));
  EXPECT_THAT(Split(",", ","), ElementsAre(""));
  EXPECT_THAT(Split(",", ",,,"), ElementsAre(""));
}

TEST(RgxSplitTest, WithoutAMatchTheWholeSubject) {
  EXPECT_THAT(Split(",", "abc"), ElementsAre("abc"));
  EXPECT_THAT(Split(",", ""), ElementsAre(""));
}

TEST(RgxSplitTest, EveryRemainderIsAFreshSubject) {
  EXPECT_THAT(Split("^a", "aaab"), ElementsAre("b"));
  EXPECT_THAT(Split("(?<=,)b|,", "a,bc"), ElementsAre("a", "bc"));
}

TEST(RgxSplitTest, APatternThatMatchesNothingAtAll) {
  ExpectNeverEnds("x*", "abc");
  ExpectNeverEnds("", "abc");
  ExpectNeverEnds("", "");
  ExpectNeverEnds("x*", "");
  ExpectNeverEnds("$", "ab");       // behind the last field
  ExpectNeverEnds("(?=,)", "a,b");  // on the second search
  ExpectNeverEnds(",|$", "a,b");
  ExpectNeverEnds("b*$", "ab");
}

TEST(RgxSplitTest, AnEmptyMatchFurtherOnIsNoError) {
  EXPECT_THAT(Split("(?<=a)", "abc"), ElementsAre("a", "bc"));
  EXPECT_THAT(Split("(?<=a)(?=b)", "xabab"), ElementsAre("xa", "ba", "b"));
}

TEST(RgxSplitTest, ZeroBytes) {
  EXPECT_THAT(Split(",", "a\0b,c"s), ElementsAre("a\0b,c"s));
  EXPECT_THAT(Split(",", "a,b\0c,d"s), ElementsAre("a", "b\0c,d"s));
  EXPECT_THAT(Split("b", "ab\0b"s), ElementsAre("a", "\0b"s));
}

// A text is searched for in another way than a pattern that stands for the same.
TEST(RgxSplitTest, ATextSplitsAsAPatternForIt) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    std::string subject(random() % 12, ' ');
    for (char& c : subject) {
      c = "abx\0"[random() % 4];
    }
    EXPECT_EQ(Split("a", subject), Split("[a]", subject)) << subject;
    EXPECT_EQ(Split("ab", subject), Split("[a]b", subject)) << subject;
  }
}

TEST(RgxSplitTest, TenMegabytes) {
  std::string subject;
  for (int i = 0; i < 1 << 20; ++i) {
    subject += "123456789,";
  }
  const cow_1DArrayList<cow_String> fields = rgx_split(",", cow_String(subject));
  ASSERT_EQ(fields.Length(), (1 << 20) + 1);
  EXPECT_EQ(fields[1 << 19], "123456789");
  EXPECT_EQ(fields[1 << 20], "");
}

TEST(RgxJoinTest, ItemsAndSeparators) {
  EXPECT_EQ(rgx_join(List({}), "-"), "");
  EXPECT_EQ(rgx_join(List({"a"}), "-"), "a");
  EXPECT_EQ(rgx_join(List({"a", "b", "c"}), "--"), "a--b--c");
  EXPECT_EQ(rgx_join(List({"", "", ""}), "-"), "--");
  EXPECT_EQ(rgx_join(List({"a", "b"}), ""), "ab");
  EXPECT_EQ(rgx_join(List({"a", "b"}), cow_String("\0", 1)), cow_String("a\0b", 3));
}

TEST(RgxJoinTest, ASingleItemNeedsNoRoomForASeparator) {
  // A block that nobody writes to takes no memory.
  constexpr int kBytes = 1500000000;
  const cow_String separator =
      cow_String::Adopt(static_cast<char*>(::operator new(kBytes + 1U)), kBytes);
  EXPECT_EQ(rgx_join(List({"a"}), separator), "a");
}

TEST(RgxJoinTest, AResultThatIsTooLong) {
  const cow_String megabyte(std::string(1 << 20, 'x'));
  const auto expectTooLong = [](const cow_String& item, int count,
                                const cow_String& separator) {
    cow_1DArrayList<cow_String> items;
    for (int i = 0; i < count; ++i) {
      items.Append(item);
    }
    try {
      rgx_join(items, separator);
      FAIL();
    } catch (const std::length_error& error) {
      EXPECT_STREQ(error.what(), "rgx_join: longer than 2147483647 bytes");
    }
  };
  expectTooLong(megabyte, 2048, "");
  expectTooLong("", 2049, megabyte);
}

TEST(RgxSubnTest, ReplacesUpToCount) {
  EXPECT_EQ(Subn("a", "x", "banana", 2), "bxnxna");
  EXPECT_EQ(Subn("a", "x", "banana", 3), "bxnxnx");
  EXPECT_EQ(Subn("a", "x", "banana"), "bxnxnx");
  EXPECT_EQ(Subn("a", "", "banana"), "bnn");
  EXPECT_EQ(Subn("a", "x", "aa", 1), "xa");
}

TEST(RgxSubnTest, UnchangedWithoutMatchOrCount) {
  EXPECT_EQ(Subn("x", "y", "banana"), "banana");
  EXPECT_EQ(Subn("a", "y", "banana", 0), "banana");
  EXPECT_EQ(Subn("a", "y", "banana", -1), "banana");
  EXPECT_EQ(Subn("a", "y", "banana", std::numeric_limits<int>::min()), "banana");
  EXPECT_EQ(Subn("x", "y", ""), "");
}

TEST(RgxSubnTest, AMalformedPatternThrowsWhateverTheCount) {
  EXPECT_THROW_TEXT(Subn("(", "y", "banana", 0), nex_TextException,
                    "rgx_match: error in regex at offset 1: missing closing parenthesis");
}

TEST(RgxSubnTest, EmptyMatches) {
  EXPECT_EQ(Subn("x*", "-", "abc", 10), "-a-b-c-");
  EXPECT_EQ(Subn("x*", "-", "abc", 3), "-a-b-c");
  EXPECT_EQ(Subn("x*", "-", "abc", 1), "-abc");
  EXPECT_EQ(Subn("x*", "-", "", 10), "-");
  EXPECT_EQ(Subn("x*", "-", "axb", 10), "-a--b-");
  EXPECT_EQ(Subn("$", "-", "ab", 10), "ab--");
  EXPECT_EQ(Subn("^", "-", "ab", 10), "-a-b-");
  EXPECT_EQ(Subn("(?=b)", "-", "abab", 10), "a--ba--b");
}

TEST(RgxSubnTest, EveryRemainderIsAFreshSubject) {
  EXPECT_EQ(Subn("^a", "x", "aaba"), "xxba");
  EXPECT_EQ(Subn("(?<=a)b", "x", "abb"), "axb");
}

TEST(RgxSubnTest, References) {
  const struct {
    const char* replacement;
    const char* result;
  } cases[] = {{"<$1>", "x<a>y"},     {"$2$1", "xbay"},
               {"$&$&", "xababy"},    {"$`", "xxy"},
               {"$'", "xyy"},         {"$0", "x$0y"},
               {"$10", "xa0y"},       {"$12", "xy"},
               {"$3", "xy"},          {"$9", "xy"},
               {"$", "x$y"},          {"$$1", "x$ay"},
               {"$x", "x$xy"},        {"$ 1", "x$ 1y"},
               {"\\$1", "x\\ay"},     {"$1$", "xa$y"},
               {"${1}", "x${1}y"},    {"&", "x&y"},
               {"\n$1\n", "x\na\ny"}, {"$99999999999999999999", "xy"},
               {"$4294967297", "xy"}, {"a$1b$2c", "xaabbcy"}};
  for (const auto& [replacement, result] : cases) {
    EXPECT_EQ(Subn("(a)(b)", replacement, "xaby"), result) << replacement;
  }
}

TEST(RgxSubnTest, ReferenceToATwoDigitGroup) {
  EXPECT_EQ(Subn("(.)(.)(.)(.)(.)(.)(.)(.)(.)(.)(.)(.)", "$12$11$1", "abcdefghijkl"),
            "lka");
}

TEST(RgxSubnTest, ReferencesNameTheFirstMatch) {
  EXPECT_EQ(Subn("(a|b)=", "<$1>", "a=1 b=2"), "<a>1 <a>2");
  EXPECT_EQ(Subn("\\d", "$`", "a1b2"), "aaba");
  EXPECT_EQ(Subn("\\d", "$'", "a1b2"), "ab2bb2");
}

TEST(RgxSubnTest, InsertedTextIsNotLookedAtAgain) {
  EXPECT_EQ(Subn("(..)x", "$1", "$1x$1x"), "$1$1");
  EXPECT_EQ(Subn("a", "aa", "aba"), "aabaa");
}

TEST(RgxSubnTest, ZeroBytes) {
  EXPECT_EQ(Subn("b", "x", "a\0b"s), "a\0b"s);
  EXPECT_EQ(Subn("b", "x", "b\0b"s), "x\0b"s);
  EXPECT_EQ(Subn("b", "$'", "bc\0b"s), "cc\0b"s);
  EXPECT_EQ(Subn("(b)", "$1\0$1"s, "b"), "b\0$1"s);
  EXPECT_EQ(Subn("x*", "-", "a\0b"s), "-a-\0-b-"s);
}

// The references are searched with a pattern of their own, which is cached as well.
TEST(RgxSubnTest, ManyPatternsBetweenTheSearches) {
  using Cache = thr_ThreadSingleton<rgx_ReCompileCache>;
  Cache::Destroy();
  for (int i = 0; i < 300; ++i) {
    const std::string number = std::to_string(i);
    const cow_String pattern(number + "(x)");
    EXPECT_EQ(Subn(pattern, "<$1>", number + "x" + number + "x"), "<x><x>");
    EXPECT_TRUE(Cache::Instance().IsMember(pattern));
  }
  EXPECT_EQ(Subn("y", "$1", "y"), "");
  EXPECT_TRUE(Cache::Instance().IsMember("\\$([1-9]+|&|`|')"));
}

TEST(RgxSubnTest, TenMegabytes) {
  const std::string subject(10 << 20, 'a');
  EXPECT_EQ(Subn("a", "b", subject), std::string(10 << 20, 'b'));
  EXPECT_EQ(Subn("a{1000}", "b", subject).size(), (10u << 20) / 1000 + (10 << 20) % 1000);
}

}  // namespace
