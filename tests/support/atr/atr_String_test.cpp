#include "atr/atr_String.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <type_traits>

#include "cow/cow_String.h"

namespace {

TEST(AtrStringTest, EmptyTexts) {
  for (const atr_String& text : {atr_String(), atr_String(""), atr_String(nullptr),
                                 atr_String(cow_String()), atr_String(std::string())}) {
    EXPECT_EQ(text.Length(), 0);
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text, atr_String());
  }
}

TEST(AtrStringTest, TakesEveryTextType) {
  EXPECT_STREQ(atr_String("abc").c_str(), "abc");
  EXPECT_STREQ(atr_String(cow_String("abc")).c_str(), "abc");
  EXPECT_STREQ(atr_String(std::string("abc")).c_str(), "abc");
  EXPECT_STREQ(atr_String(std::string_view("abcdef", 3)).c_str(), "abc");
  char writable[] = "abc";
  EXPECT_STREQ(atr_String(writable).c_str(), "abc");
}

TEST(AtrStringTest, ConvertsWithoutBeingNamed) {
  static_assert(std::is_convertible_v<const char*, atr_String>);
  static_assert(std::is_convertible_v<cow_String, atr_String>);
  static_assert(std::is_convertible_v<std::string_view, atr_String>);
  static_assert(!std::is_convertible_v<int, atr_String>);
}

TEST(AtrStringTest, Compares) {
  const atr_String text("abc");
  EXPECT_TRUE(text == "abc" && "abc" == text && text != "abd" && text != "ab");
  EXPECT_TRUE(text == cow_String("abc") && cow_String("ab") != text);
  EXPECT_TRUE(text == std::string("abc"));
}

TEST(AtrStringTest, CopiesShareTheTextAndNeverFail) {
  static_assert(std::is_nothrow_copy_constructible_v<atr_String>);
  static_assert(std::is_nothrow_copy_assignable_v<atr_String>);
  atr_String copy;
  {
    const atr_String text("abc");
    copy = text;
    EXPECT_EQ(copy.c_str(), text.c_str());
  }
  EXPECT_STREQ(copy.c_str(), "abc");
  EXPECT_EQ(copy.Length(), 3);
}

TEST(AtrStringTest, WritesToStreams) {
  std::ostringstream out;
  out << atr_String("abc") << atr_String() << '.';
  EXPECT_EQ(out.str(), "abc.");
}

}  // namespace
