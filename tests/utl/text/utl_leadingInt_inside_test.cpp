#include "utl/impl/text/utl_leadingInt.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

namespace {

TEST(LeadingIntTest, TextsAsAtoiReadsThem) {
  for (const char* text :
       {"", "0", "7", "007", "+5", "-5", "+-5", "--5", " \t\n\v\f\r42", "4x", "x4", "-",
        "+", "2147483647", "-2147483648", "1 2", "- 1", "\2401"}) {
    EXPECT_EQ(utl_leadingInt(text), std::atoi(text)) << text;
  }
}

TEST(LeadingIntTest, RandomTextsAsAtoiReadsThem) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (std::size_t i = random() % 12; i > 0; --i) {
      text += "0123456789-+ x"[random() % 14];
    }
    ASSERT_EQ(utl_leadingInt(text), std::atoi(text.c_str())) << text;
  }
}

// Beyond 64 bits the targets' atoi differ.
TEST(LeadingIntTest, OfAnOverlongNumberTheLowest32BitsCount) {
  EXPECT_EQ(utl_leadingInt("2147483648"), -2147483647 - 1);
  EXPECT_EQ(utl_leadingInt("4294967299"), 3);
  EXPECT_EQ(utl_leadingInt("-4294967299"), -3);
  EXPECT_EQ(utl_leadingInt("18446744073709551619"), 3);
  EXPECT_EQ(utl_leadingInt("-18446744073709551619x"), -3);
  EXPECT_EQ(utl_leadingInt("99999999999999999999999999999"), -1610612737);
}

}  // namespace
