// cow_String beside the strings, ranges and formats of the standard library and of {fmt}.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ranges>
#include <string>
#include <type_traits>
#include <unordered_map>

#include "cow/cow_List.h"
#include "cow/cow_String.h"
#include "cow/cow_String_fmt.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

// Overloads as interfaces have them: which one a text takes.
std::string_view Taken(const cow_String& /*text*/) {
  return "cow_String";
}
std::string_view Taken(const char* /*text*/) {
  return "const char*";
}

int LengthOf(const cow_String& text) {
  return text.Length();
}

TEST(CowStringStdTest, StandardStringsNeedNoCast) {
  EXPECT_EQ(LengthOf("abc"s), 3);
  EXPECT_EQ(LengthOf("abc"sv), 3);
  EXPECT_EQ(LengthOf("a\0b"s), 3);
  EXPECT_EQ(LengthOf("a\0b"sv), 3);
  EXPECT_EQ(LengthOf(""s), 0);
  const cow_String fromString = "abc"s;
  const cow_String fromView = "abc"sv;
  EXPECT_EQ(fromString, fromView);
  cow_String assigned;
  assigned = "abc"s;
  EXPECT_EQ(assigned, "abc");
  assigned = "xy"sv;
  EXPECT_EQ(assigned, "xy");
}

TEST(CowStringStdTest, NoCallIsAmbiguous) {
  EXPECT_EQ(Taken("abc"), "const char*");
  EXPECT_EQ(Taken("abc"s), "cow_String");
  EXPECT_EQ(Taken("abc"sv), "cow_String");
  EXPECT_EQ(Taken(cow_String("abc")), "cow_String");
  EXPECT_EQ(Taken(nullptr), "const char*");
  EXPECT_EQ(LengthOf(nullptr), 0);
  EXPECT_EQ(LengthOf({}), 0);
  EXPECT_EQ(LengthOf({"abc", 2}), 2);
}

TEST(CowStringStdTest, NumbersAreNoStrings) {
  EXPECT_FALSE((std::is_convertible_v<int, cow_String>));
  EXPECT_FALSE((std::is_constructible_v<cow_String, char>));
}

TEST(CowStringStdTest, ComparesBothWays) {
  const cow_String text("b");
  EXPECT_TRUE(text == "b"s && "b"s == text && text == "b"sv && "b"sv == text);
  EXPECT_TRUE(text != "a"s && "a"s != text && text != "a"sv && "a"sv != text);
  EXPECT_TRUE(text > "a"s && "a"s < text && text > "a"sv && "a"sv < text);
  EXPECT_TRUE(text < "\xff"s && "\xff"s > text) << "as unsigned bytes";
}

TEST(CowStringStdTest, JoinsBothWays) {
  cow_String text("a");
  text += "b"s;
  text += "c"sv;
  EXPECT_EQ(text, "abc");
  EXPECT_EQ(text + "d"s, "abcd");
  EXPECT_EQ(text + "d"sv, "abcd");
  EXPECT_EQ("d"s + text, "dabc");
  EXPECT_EQ("d"sv + text, "dabc");
  text.Insert(0, "x"s);
  EXPECT_EQ(text, "xabc");
  EXPECT_EQ(text.Find("bc"s), 2);
}

TEST(CowStringStdTest, IsAContiguousRangeOfItsBytes) {
  static_assert(std::ranges::contiguous_range<const cow_String>);
  const cow_String text("c\0a", 3);
  EXPECT_EQ(std::string(text.begin(), text.end()), "c\0a"s);
  EXPECT_EQ(std::ranges::count(text, 'a'), 1);
  EXPECT_EQ(std::ranges::size(text), 3U);
  int count = 0;
  for (const char c : text) {
    count += c == '\0' ? 1 : 0;
  }
  EXPECT_EQ(count, 1);
  EXPECT_TRUE(std::ranges::empty(cow_String()));
}

TEST(CowStringStdTest, IteratingDoesNotDetach) {
  const cow_String original("a text that is too long to stand in the object itself");
  const cow_String copy(original);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(copy.begin(), original.begin());
}

TEST(CowStringStdTest, IsAKeyBesideStandardStrings) {
  std::unordered_map<cow_String, int> numbers;
  numbers["a"s] = 1;
  numbers["b"sv] = 2;
  EXPECT_EQ(numbers.at("a"), 1);
  EXPECT_EQ(numbers.at("b"), 2);
  cow_List<cow_String> names;
  names.Append("c"s);
  EXPECT_EQ(*names.begin(), "c");
}

TEST(CowStringStdTest, FormatsAsAText) {
  const cow_String text("steel");
  EXPECT_EQ(fmt::format("{}", text), "steel");
  EXPECT_EQ(fmt::format("{:>8}|{:<7}|{:.2}|{:*^7}", text, text, text, text),
            "   steel|steel  |st|*steel*");
  EXPECT_EQ(fmt::format("{}", cow_String("a\0b", 3)), "a\0b"s);
  EXPECT_EQ(fmt::format("[{}]", cow_String()), "[]");
}

}  // namespace
