#include "utl/utl_Catenator.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>

namespace {

utl_Catenator& Cat(utl_Catenator& catenator, std::string_view text) {
  return catenator.Cat(text.data(), static_cast<int>(text.size()));
}

std::string Text(const utl_Catenator& catenator) {
  return std::string(std::string_view(catenator.GetString()));
}

std::string Letters(std::size_t count, std::size_t from = 0) {
  std::string text(count, ' ');
  for (std::size_t i = 0; i < count; ++i) {
    text[i] = static_cast<char>('a' + (from + i) % 23);
  }
  return text;
}

TEST(CatenatorTest, IsEmptyAtFirst) {
  EXPECT_TRUE(utl_Catenator().GetString().IsEmpty());
}

TEST(CatenatorTest, PiecesInTheirOrder) {
  utl_Catenator catenator;
  catenator.Cat("node ", 5).Cat("17 of 20", 2);
  EXPECT_EQ(Text(catenator), "node 17");
}

TEST(CatenatorTest, LengthOfZeroOrLessAppendsNothing) {
  utl_Catenator catenator;
  catenator.Cat("abc", 0).Cat(nullptr, 0).Cat("abc", -1).Cat("abc", -2147483647 - 1);
  EXPECT_EQ(Text(catenator), "");
  Cat(catenator, Letters(991)).Cat("abc", 0).Cat("abc", -5);
  EXPECT_EQ(Text(catenator), Letters(991));
  Cat(catenator, Letters(9, 991)).Cat("abc", 0).Cat(nullptr, 0).Cat("abc", -1);
  EXPECT_EQ(Text(catenator), Letters(1000));
}

// A short text is shared with the catenator, one of the stream is new each time.
bool IsStreaming(const utl_Catenator& catenator) {
  return catenator.GetString().c_str() != catenator.GetString().c_str();
}

TEST(CatenatorTest, StaysInItsStringUpTo991Bytes) {
  utl_Catenator catenator;
  for (int i = 0; i < 991; ++i) {
    Cat(catenator, Letters(1, static_cast<std::size_t>(i)));
  }
  EXPECT_EQ(Text(catenator), Letters(991));
  EXPECT_FALSE(IsStreaming(catenator));
}

TEST(CatenatorTest, StreamsFrom992BytesOn) {
  utl_Catenator catenator;
  Cat(catenator, Letters(991));
  Cat(catenator, Letters(1, 991));
  EXPECT_EQ(Text(catenator), Letters(992));
  EXPECT_TRUE(IsStreaming(catenator));
  Cat(catenator, Letters(500, 992));
  EXPECT_EQ(Text(catenator), Letters(1492));
}

TEST(CatenatorTest, OnePieceMayGoToTheStreamAtOnce) {
  for (const std::size_t size : {992u, 993u, 65536u, 65537u, 1000000u}) {
    utl_Catenator catenator;
    Cat(catenator, Letters(size));
    EXPECT_EQ(Text(catenator), Letters(size));
    EXPECT_TRUE(IsStreaming(catenator));
  }
}

TEST(CatenatorTest, TextsAbove496BytesAreShared) {
  utl_Catenator catenator;
  Cat(catenator, Letters(496));
  EXPECT_NE(catenator.GetString().c_str(), catenator.GetString().c_str());
  const cow_String copy = catenator.GetString();
  Cat(catenator, "x");
  EXPECT_EQ(catenator.GetString().c_str(), catenator.GetString().c_str());
  EXPECT_EQ(std::string_view(copy), Letters(496));
}

TEST(CatenatorTest, AppendingLeavesASharedTextAlone) {
  utl_Catenator catenator;
  Cat(catenator, Letters(600));
  const cow_String before = catenator.GetString();
  Cat(catenator, Letters(100, 600));
  EXPECT_EQ(std::string_view(before), Letters(600));
  EXPECT_EQ(Text(catenator), Letters(700));
}

TEST(CatenatorTest, ZeroBytesOfAShortTextAreKept) {
  utl_Catenator catenator;
  Cat(catenator, std::string_view("a\0b\0", 4));
  EXPECT_EQ(Text(catenator), std::string("a\0b\0", 4));
}

TEST(CatenatorTest, StreamedTextIsGivenUpToItsFirstZeroByte) {
  utl_Catenator catenator;
  Cat(catenator, Letters(1000)).Cat("\0b", 2);
  EXPECT_EQ(Text(catenator), Letters(1000));
  Cat(catenator, Letters(1000));
  EXPECT_EQ(Text(catenator), Letters(1000));
}

TEST(CatenatorTest, TheTextMayBeAskedForAgain) {
  utl_Catenator catenator;
  Cat(catenator, Letters(1200));
  const cow_String first = catenator.GetString();
  EXPECT_EQ(Text(catenator), Letters(1200));
  Cat(catenator, Letters(1, 1200));
  EXPECT_EQ(Text(catenator), Letters(1201));
  EXPECT_EQ(std::string_view(first), Letters(1200));
}

TEST(CatenatorTest, EraseForgetsAShortText) {
  utl_Catenator catenator;
  EXPECT_EQ(&catenator.Erase(), &catenator);
  Cat(catenator, Letters(700));
  const cow_String shared = catenator.GetString();
  EXPECT_EQ(Text(catenator.Erase()), "");
  EXPECT_EQ(Text(Cat(catenator, "new")), "new");
  EXPECT_EQ(std::string_view(shared), Letters(700));
  Cat(catenator, Letters(988, 3));
  EXPECT_FALSE(IsStreaming(catenator)) << "counted from nothing";
}

TEST(CatenatorTest, EraseForgetsALongTextAndGoesOnStreaming) {
  utl_Catenator catenator;
  Cat(catenator, Letters(100000));
  EXPECT_EQ(Text(catenator.Erase()), "");
  EXPECT_EQ(Text(Cat(catenator, "new")), "new");
  EXPECT_EQ(Text(Cat(catenator, "er")), "newer");
  Cat(catenator.Erase(), std::string_view("a\0b", 3));
  EXPECT_EQ(Text(catenator), "a") << "as long texts are given";
  EXPECT_EQ(Text(Cat(catenator.Erase(), Letters(200000))), Letters(200000));
}

TEST(CatenatorTest, RandomPiecesAndErasuresAsAStandardStringHasThem) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    utl_Catenator catenator;
    std::string model;
    for (int step = 0; step < 60; ++step) {
      if (random() % 25 == 0) {
        catenator.Erase();
        model.clear();
      }
      const std::string piece = Letters(random() % (random() % 8 == 0 ? 3000 : 40));
      Cat(catenator, piece);
      model += piece;
      if (random() % 6 == 0) {
        ASSERT_EQ(Text(catenator), model);
      }
    }
    ASSERT_EQ(Text(catenator), model);
  }
}

}  // namespace
