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
  EXPECT_EQ("node 17", Text(catenator));
}

TEST(CatenatorTest, LengthOfZeroOrLessAppendsNothing) {
  utl_Catenator catenator;
  catenator.Cat("abc", 0).Cat(nullptr, 0).Cat("abc", -1).Cat("abc", -2147483647 - 1);
  EXPECT_EQ("", Text(catenator));
  Cat(catenator, Letters(991)).Cat("abc", 0).Cat("abc", -5);
  EXPECT_EQ(Letters(991), Text(catenator));
  Cat(catenator, Letters(9, 991)).Cat("abc", 0).Cat(nullptr, 0).Cat("abc", -1);
  EXPECT_EQ(Letters(1000), Text(catenator));
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
  EXPECT_EQ(Letters(991), Text(catenator));
  EXPECT_FALSE(IsStreaming(catenator));
}

TEST(CatenatorTest, StreamsFrom992BytesOn) {
  utl_Catenator catenator;
  Cat(catenator, Letters(991));
  Cat(catenator, Letters(1, 991));
  EXPECT_EQ(Letters(992), Text(catenator));
  EXPECT_TRUE(IsStreaming(catenator));
  Cat(catenator, Letters(500, 992));
  EXPECT_EQ(Letters(1492), Text(catenator));
}

TEST(CatenatorTest, OnePieceMayGoToTheStreamAtOnce) {
  for (const std::size_t size : {992u, 993u, 65536u, 65537u, 1000000u}) {
    utl_Catenator catenator;
    Cat(catenator, Letters(size));
    EXPECT_EQ(Letters(size), Text(catenator));
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
  EXPECT_EQ(Letters(496), std::string_view(copy));
}

TEST(CatenatorTest, AppendingLeavesASharedTextAlone) {
  utl_Catenator catenator;
  Cat(catenator, Letters(600));
  const cow_String before = catenator.GetString();
  Cat(catenator, Letters(100, 600));
  EXPECT_EQ(Letters(600), std::string_view(before));
  EXPECT_EQ(Letters(700), Text(catenator));
}

TEST(CatenatorTest, ZeroBytesOfAShortTextAreKept) {
  utl_Catenator catenator;
  Cat(catenator, std::string_view("a\0b\0", 4));
  EXPECT_EQ(std::string("a\0b\0", 4), Text(catenator));
}

TEST(CatenatorTest, StreamedTextIsGivenUpToItsFirstZeroByte) {
  utl_Catenator catenator;
  Cat(catenator, Letters(1000)).Cat("\0b", 2);
  EXPECT_EQ(Letters(1000), Text(catenator));
  Cat(catenator, Letters(1000));
  EXPECT_EQ(Letters(1000), Text(catenator));
}

TEST(CatenatorTest, TheTextMayBeAskedForAgain) {
  utl_Catenator catenator;
  Cat(catenator, Letters(1200));
  const cow_String first = catenator.GetString();
  EXPECT_EQ(Letters(1200), Text(catenator));
  Cat(catenator, Letters(1, 1200));
  EXPECT_EQ(Letters(1201), Text(catenator));
  EXPECT_EQ(Letters(1200), std::string_view(first));
}

TEST(CatenatorTest, EraseForgetsAShortText) {
  utl_Catenator catenator;
  EXPECT_EQ(&catenator, &catenator.Erase());
  Cat(catenator, Letters(700));
  const cow_String shared = catenator.GetString();
  EXPECT_EQ("", Text(catenator.Erase()));
  EXPECT_EQ("new", Text(Cat(catenator, "new")));
  EXPECT_EQ(Letters(700), std::string_view(shared));
  Cat(catenator, Letters(988, 3));
  EXPECT_FALSE(IsStreaming(catenator)) << "counted from nothing";
}

TEST(CatenatorTest, EraseForgetsALongTextAndGoesOnStreaming) {
  utl_Catenator catenator;
  Cat(catenator, Letters(100000));
  EXPECT_EQ("", Text(catenator.Erase()));
  EXPECT_EQ("new", Text(Cat(catenator, "new")));
  EXPECT_EQ("newer", Text(Cat(catenator, "er")));
  Cat(catenator.Erase(), std::string_view("a\0b", 3));
  EXPECT_EQ("a", Text(catenator)) << "as long texts are given";
  EXPECT_EQ(Letters(200000), Text(Cat(catenator.Erase(), Letters(200000))));
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
        ASSERT_EQ(model, Text(catenator));
      }
    }
    ASSERT_EQ(model, Text(catenator));
  }
}

}  // namespace
