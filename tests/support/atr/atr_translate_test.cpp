#include "atr/atr_translate.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "cow/cow_String.h"

namespace {

struct Row {
  const char* format;
  int count;  // of arguments given: "<1>", "%s", "%1$s" in this order
  const char* expected;
};

const char* const kArguments[] = {"<1>", "%s", "%1$s"};

TEST(AtrTranslateTest, SubstitutionTable) {
  const Row rows[] = {
      {"", 0, ""},
      {"plain", 0, "plain"},
      {"plain", 3, "plain"},
      {"a %1$s b", 1, "a <1> b"},
      {"%1$s%1$s", 1, "<1><1>"},
      {"%1$s|%2$s|%3$s", 3, "<1>|%s|%1$s"},
      {"%3$s|%2$s|%1$s", 3, "%1$s|%s|<1>"},
      // Placeholders without an argument stay, arguments without one are dropped.
      {"%1$s", 0, "%1$s"},
      {"file name: %2$s", 1, "file name: %2$s"},
      {"%1$s %2$s %4$s", 2, "<1> %s %4$s"},
      {"only %2$s", 3, "only %s"},
      {"%s", 0, "%s"},
      // Unnumbered ones take the next position.
      {"Not a directory: %s", 1, "Not a directory: <1>"},
      {"%s|%s|%s|%s", 3, "<1>|%s|%1$s|%s"},
      {"error: %u: \"%s\"\n", 2, "error: <1>: \"%s\"\n"},
      {"%2$s|%s", 2, "%s|<1>"},
      {"%s|%1$s|%s", 2, "<1>|<1>|%s"},
      {"%1$u", 1, "<1>"},
      // What is no placeholder is plain text.
      {"100%", 1, "100%"},
      {"%", 1, "%"},
      {"%%", 1, "%%"},
      {"%%s", 1, "%<1>"},
      {"50% of %s", 1, "50% of <1>"},
      {"%d %x %5s %-3s %.2s %", 3, "%d %x %5s %-3s %.2s %"},
      {"%1$d", 1, "%1$d"},
      {"%1s", 1, "%1s"},
      {"%1$", 1, "%1$"},
      {"%1", 1, "%1"},
      {"%$s", 1, "%$s"},
      {"%0$s", 1, "%0$s"},
      {"%-1$s", 1, "%-1$s"},
      {"%+1$s", 1, "%+1$s"},
      {"% 1$s", 1, "% 1$s"},
      {"%01$s", 1, "<1>"},
      {"%2147483648$s", 1, "%2147483648$s"},
      {"%99999999999999999999$s", 1, "%99999999999999999999$s"},
  };
  for (const Row& row : rows) {
    atr_translate text(row.format);
    for (int i = 0; i < row.count; ++i) {
      atr_SubstituteFormat(text, i + 1, kArguments[i]);
    }
    EXPECT_EQ(text.Result(), row.expected) << row.format;
  }
}

TEST(AtrTranslateTest, NullTemplateIsEmpty) {
  EXPECT_EQ(atr_translate(nullptr).Result(), "");
}

TEST(AtrTranslateTest, ArgumentTypes) {
  atr_translate text("%1$s %2$s %3$s %4$s %5$s %6$s %7$s");
  atr_SubstituteFormat(text, 1, "chars");
  atr_SubstituteFormat(text, 2, cow_String("cow"));
  atr_SubstituteFormat(text, 3, atr_String("atr"));
  atr_SubstituteFormat(text, 4, INT_MIN);
  atr_SubstituteFormat(text, 5, UINT_MAX);
  atr_SubstituteFormat(text, 6, 0);
  atr_SubstituteFormat(text, 7, std::string("std"));
  EXPECT_EQ(text.Result(), "chars cow atr -2147483648 4294967295 0 std");
}

TEST(AtrTranslateTest, NullAndEmptyArgumentsAreArguments) {
  atr_translate text("[%1$s][%2$s]");
  atr_SubstituteFormat(text, 1, static_cast<const char*>(nullptr));
  atr_SubstituteFormat(text, 2, cow_String());
  EXPECT_EQ(text.Result(), "[][]");
}

TEST(AtrTranslateTest, LaterArgumentReplacesEarlier) {
  atr_translate text("%1$s");
  atr_SubstituteFormat(text, 1, "a");
  atr_SubstituteFormat(text, 1, "b");
  EXPECT_EQ(text.Result(), "b");
}

TEST(AtrTranslateTest, PositionsOfAnySizeAreKept) {
  atr_translate text("%2147483647$s %s");
  atr_SubstituteFormat(text, INT_MAX, "last");
  atr_SubstituteFormat(text, 0, "none");
  atr_SubstituteFormat(text, -1, "none");
  EXPECT_EQ(text.Result(), "last %s");
}

// A literal percent sign is looked up under the number 0, which no argument may take.
TEST(AtrTranslateTest, ArgumentAtPositionZeroIsDropped) {
  atr_translate text("100% %0$s %s");
  atr_SubstituteFormat(text, 0, "none");
  EXPECT_EQ(text.Result(), "100% %0$s %s");
}

TEST(AtrTranslateTest, ArgumentsEndAtAZeroByte) {
  atr_translate text("%1$s.");
  atr_SubstituteFormat(text, 1, cow_String("a\0b", 3));
  EXPECT_EQ(text.Result(), "a.");
}

TEST(AtrTranslateTest, ResultCanBeReadAgainAsArgumentsArrive) {
  atr_translate text("%1$s %2$s");
  EXPECT_EQ(text.Result(), "%1$s %2$s");
  atr_SubstituteFormat(text, 2, "b");
  EXPECT_EQ(text.Result(), "%1$s b");
  atr_SubstituteFormat(text, 1, "a");
  EXPECT_EQ(text.Result(), "a b");
  EXPECT_EQ(text.Result(), "a b");
}

}  // namespace
