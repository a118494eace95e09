#include <gtest/gtest.h>

#include "common/Tool.h"

namespace {

TEST(ShownTest, LettersStayAsTheyAre) {
  for (const std::string text :
       {"", "a b", "m\xc3\xa4st", "\xd8\xa7\xd8\xa8", "\xf0\x9f\x98\x80",
        // Beside the marks of direction: U+061B, U+200D, which joins letters, U+2010,
        // U+2027, U+202F, U+2065, U+206A.
        "\xd8\x9b", "\xe2\x80\x8d", "\xe2\x80\x90", "\xe2\x80\xa7", "\xe2\x80\xaf",
        "\xe2\x81\xa5", "\xe2\x81\xaa"}) {
    EXPECT_EQ(Shown(text), text);
  }
}

TEST(ShownTest, WhatMovesTheCursorOrIsNoLetterIsWrittenAsNumbers) {
  EXPECT_EQ(Shown("a\x1b[2J\r\n"), "a\\x1b[2J\\x0d\\x0a");
  EXPECT_EQ(Shown("\x7f\xc2\x85"), "\\x7f\\xc2\\x85");
  EXPECT_EQ(Shown("\xff\xc3"), "\\xff\\xc3");
  EXPECT_EQ(Shown("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "half of a pair";
}

// A name could look like another one.
TEST(ShownTest, WhatTurnsTheDirectionIsWrittenAsNumbers) {
  for (const char* letter :
       {"\xd8\x9c", "\xe2\x80\x8e", "\xe2\x80\x8f", "\xe2\x80\xa8", "\xe2\x80\xa9",
        "\xe2\x80\xaa", "\xe2\x80\xae", "\xe2\x81\xa6", "\xe2\x81\xa9"}) {
    EXPECT_TRUE(Shown(letter).starts_with("\\x")) << Shown(letter);
  }
  EXPECT_EQ(Shown("\xe2\x80\xaetxt.exe"), "\\xe2\\x80\\xaetxt.exe");
}

}  // namespace
