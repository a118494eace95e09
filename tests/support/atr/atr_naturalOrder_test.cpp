#include "atr/atr_naturalOrder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Ascending; every text is compared with every other, in both directions.
TEST(AtrNaturalOrderTest, TableOfAscendingTexts) {
  const std::string zeros(1000, '0');
  const std::string nines(1000, '9');
  const std::vector<std::string> ascending = {
      "",
      " ",
      "-1",
      "-2",
      ".5",
      "0",
      "00",
      "0a",
      "01",
      "1",
      "1.2",
      "1.10",
      "1a",
      "2",
      "9",
      "10",
      "10a2",
      "10a10",
      "99",
      "100",
      "4294967295",
      "4294967296",
      "18446744073709551616",
      nines,
      "1" + zeros,
      "A1",
      "A2",
      "A10",
      "file",
      "file 1",
      "file.1",
      "file1",
      "file1.dat",
      "file1a",
      "file2",
      "file9",
      "file09x",
      "file10",
      "file10x",
      "file11",
      "filea",
      "x01y1",
      "x1y01",
      "x1y2",
      "\x80",
      "\xff",
  };
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      const int order = strnatcmp(ascending[i].c_str(), ascending[j].c_str());
      EXPECT_EQ(order < 0, i < j) << ascending[i] << " | " << ascending[j];
      EXPECT_EQ(order > 0, i > j) << ascending[i] << " | " << ascending[j];
    }
  }
}

TEST(AtrNaturalOrderTest, LeadingZerosDecideOnlyBetweenEqualValues) {
  EXPECT_LT(strnatcmp("a01", "a1"), 0);
  EXPECT_LT(strnatcmp("a001", "a01"), 0);
  EXPECT_LT(strnatcmp("a01b", "a1c"), 0);
  EXPECT_GT(strnatcmp("a01c", "a1b"), 0);
  EXPECT_LT(strnatcmp("a0009", "a10"), 0);
  EXPECT_GT(strnatcmp("a0010", "a9"), 0);
}

TEST(AtrNaturalOrderTest, OnlyIdenticalTextsAreEqual) {
  EXPECT_EQ(strnatcmp("", ""), 0);
  EXPECT_EQ(strnatcmp("file007", "file007"), 0);
  EXPECT_NE(strnatcmp("file007", "file7"), 0);
  EXPECT_NE(strnatcmp("0", "00"), 0);
}

TEST(AtrNaturalOrderTest, SwitchIsOffAtStart) {
  EXPECT_FALSE(atr_getNaturalOrder());
}

TEST(AtrNaturalOrderTest, SwitchKeepsWhatIsSet) {
  atr_setNaturalOrder(true);
  EXPECT_TRUE(atr_getNaturalOrder());
  atr_setNaturalOrder(false);
  EXPECT_FALSE(atr_getNaturalOrder());
}

}  // namespace
