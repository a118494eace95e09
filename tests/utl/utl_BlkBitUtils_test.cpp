#include "utl/utl_BlkBitUtils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "common/expect/ExpectThrow.h"
#include "common/expect/Steps.h"
#include "nex/nex_AssertException.h"

namespace {

using Pieces = std::vector<std::string>;

omi_BlkBitVect Mask(const std::vector<std::uint32_t>& words) {
  omi_BlkBitVect mask;
  for (std::size_t i = 0; i < words.size(); ++i) {
    mask.SetCell(i, words[i]);
  }
  return mask;
}

Pieces Written(const omi_BlkBitVect& mask) {
  Pieces pieces;
  for (const cow_String& piece : utl_BlkBitUtils::GetMaskString(mask)) {
    pieces.emplace_back(std::string_view(piece));
  }
  return pieces;
}

void Read(const Pieces& pieces, omi_BlkBitVect& mask) {
  cow_List<cow_String> text;
  for (const std::string& piece : pieces) {
    text.Append(cow_String(std::string_view(piece)));
  }
  utl_BlkBitUtils::GetMaskFromString(text, mask);
}

omi_BlkBitVect Read(const Pieces& pieces) {
  omi_BlkBitVect mask;
  Read(pieces, mask);
  return mask;
}

std::vector<std::uint32_t> Words(const omi_BlkBitVect& mask, std::size_t count) {
  std::vector<std::uint32_t> words;
  for (std::size_t i = 0; i < count; ++i) {
    words.push_back(mask.Cell(i));
  }
  return words;
}

using W = std::vector<std::uint32_t>;

TEST(BlkBitUtilsTest, MaskText) {
  struct {
    W words;
    Pieces pieces;
  } const table[] = {
      {{}, {"[#0 ]"}},
      {{1}, {"[#1 ]"}},
      {{0xFFFFFFFF}, {"[#ffffffff ]"}},
      {{0, 0x100}, {"[#0 #100 ]"}},
      {{0, 0, 0, 0xFF}, {"[#0:3 #ff ]"}},
      {{5, 5}, {"[#5:2 ]"}},
      {{5, 5, 5, 0, 0, 7, 7}, {"[#5:3 #0:2 #7:2 ]"}},
      {{5, 5, 6}, {"[#5:2 #6 ]"}},
      {{5, 6, 6}, {"[#5 #6:2 ]"}},
      {{1, 2, 3, 4, 5, 6, 7}, {"[#1 #2 #3 #4 #5 #6 #7 ]"}},
      {{1, 2, 3, 4, 5, 6, 7, 8}, {"[#1 #2 #3 #4 #5 #6 #7", " #8 ]"}},
      {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {"[#1 #2 #3 #4 #5 #6 #7", " #8 #9 #a ]"}},
      {{1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8},
       {"[#1:2 #2:2 #3:2 #4:2 #5:2 #6:2 #7:2", " #8:2 ]"}},
      {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
       {"[#1 #2 #3 #4 #5 #6 #7", " #8 #9 #a #b #c #d #e", " #f ]"}},
  };
  for (const auto& row : table) {
    const omi_BlkBitVect mask = Mask(row.words);
    EXPECT_EQ(Written(mask), row.pieces);
    EXPECT_EQ(Words(Read(row.pieces), row.words.size()), row.words);
    EXPECT_EQ(Read(row.pieces).Count(), mask.Count());
  }
}

TEST(BlkBitUtilsTest, OnlyBit40) {
  omi_BlkBitVect mask;
  mask.Set(40);
  EXPECT_EQ(Written(mask), Pieces{"[#0 #100 ]"});
}

TEST(BlkBitUtilsTest, WordsOfBlocksThatWereNeverUsedAreZero) {
  omi_BlkBitVect mask;
  mask.Set(3 * 131072 + 7);  // three blocks in front
  EXPECT_EQ(Written(mask), Pieces{"[#0:12288 #80 ]"});
  omi_BlkBitVect back = Read({"[#0:12288 #80 ]"});
  EXPECT_EQ(back.Count(), 1u);
  EXPECT_TRUE(back.IsSet(3 * 131072 + 7));
}

TEST(BlkBitUtilsTest, BitsThatWereClearedAgainDoNotLengthenTheText) {
  omi_BlkBitVect mask = Mask({3, 0, 9});
  mask.SetCell(2, 0);
  EXPECT_EQ(Written(mask), Pieces{"[#3 ]"});
}

TEST(BlkBitUtilsTest, ZeroWordsLeaveTheTargetsBits) {
  omi_BlkBitVect mask;
  mask.Set(0);
  Read({"[#0:3 #ff ]"}, mask);
  EXPECT_EQ(Words(mask, 4), (W{1, 0, 0, 0xFF}));
  EXPECT_EQ(mask.Count(), 9u);
}

TEST(BlkBitUtilsTest, OtherWordsReplaceTheTargetsBits) {
  omi_BlkBitVect mask = Mask({0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xF0});
  Read({"[#1:2 #0 #f ]"}, mask);
  EXPECT_EQ(Words(mask, 4), (W{1, 1, 0xFFFFFFFF, 0xF}));
  EXPECT_EQ(mask.Count(), 38u);
}

TEST(BlkBitUtilsTest, WordsAreCountedOnOverThePieces) {
  EXPECT_EQ(Words(Read({"[#1", " #0:2", "", " #2 #3 ]"}), 5), (W{1, 0, 0, 2, 3}));
  EXPECT_EQ(Read({}).Count(), 0u);
}

TEST(BlkBitUtilsTest, OnlyItemsMeanSomething) {
  EXPECT_EQ(Words(Read({"x]#AB [:7 5 #2:2] ]]#3"}), 4), (W{0xAB, 2, 2, 3}));
}

TEST(BlkBitUtilsTest, ItemsEndAtTheirBlank) {
  // What follows the number up to there is passed over, a further "#" too.
  EXPECT_EQ(Words(Read({"#5#6 #7z #9q:3:4#5 #1"}), 6), (W{5, 7, 9, 9, 9, 1}));
}

TEST(BlkBitUtilsTest, NumbersAsScanfReadsThem) {
  EXPECT_EQ(Words(Read({"#0x1f #0X2F #+3f #\t3: 2 #00000ffffffff"}), 6),
            (W{0x1F, 0x2F, 0x3F, 3, 3, 0xFFFFFFFF}));
}

TEST(BlkBitUtilsTest, MinusSignsAsScanfReadsThem) {
  EXPECT_EQ(Words(Read({"[#-1 #-ff #-0X1f # -2 #-ffffffff #-0 ]"}), 6),
            (W{0xFFFFFFFF, 0xFFFFFF01, 0xFFFFFFE1, 0xFFFFFFFE, 1, 0}));
  EXPECT_EQ(Words(Read({"[#7:-4294967294 #1 ]"}), 4), (W{7, 7, 1, 0}));
  omi_BlkBitVect mask;
  EXPECT_THROW(Read({"[#1:-1 ]"}, mask), nex_AssertException);  // 4,294,967,295 words
}

TEST(BlkBitUtilsTest, DamagedNumbersStandForThoseBefore) {
  struct {
    Pieces pieces;
    W words;
  } const table[] = {
      {{"[# #2 ]"}, {0, 2}},                  // the value before the first is 0
      {{"[#3 #x #y:2 ]"}, {3, 3, 3, 3}},      // a value
      {{"[#3:x #4 ]"}, {3, 4}},               // the length before the first is 1
      {{"[#3:2 #4: #5 ]"}, {3, 3, 4, 4, 5}},  // a length
      {{"[#3:2 #4 #5:y ]"}, {3, 3, 4, 5}},    // an item without one has the length 1
      {{"[#3 #100000000 ]"}, {3, 3}},         // 33 bits
      {{"[#3:2 #4:4294967296 ]"}, {3, 3, 4, 4}},
      {{"[#3 #0x #", "#5 ]"}, {3, 3, 3, 5}},
      {{"[#3 #-100000000 #--1 #-+1 #- 1 ]"}, {3, 3, 3, 3, 3}},
      {{"[#3:0 #4 ]"}, {4, 0}},
  };
  for (const auto& row : table) {
    W words = row.words;
    words.push_back(0);
    EXPECT_EQ(Words(Read(row.pieces), words.size()), words) << row.pieces[0];
  }
}

TEST(BlkBitUtilsTest, WordsBeyondTheLimitAreRefused) {
  constexpr char kText[] = "word + count <= omi_BlkBitVect::kCells";
  omi_BlkBitVect mask;
  EXPECT_THROW_TEXT(Read({"[#5 #0:134217727 #1 ]"}, mask), nex_AssertException, kText);
  EXPECT_EQ(mask.Count(), 2u) << "what came before is stored";
  EXPECT_THROW_TEXT(Read({"[#0:4294967295 #0:4294967295 #0:4294967295 #1 ]"}, mask),
                    nex_AssertException, kText);
  EXPECT_THROW_TEXT(Read({"[#0:134217720 #7:9 ]"}, mask), nex_AssertException, kText);
  EXPECT_EQ(mask.Count(), 2u) << "nothing of the run is stored";
}

TEST(BlkBitUtilsTest, TheLastWordOfTheLimitIsReached) {
  omi_BlkBitVect mask = Read({"[#0:134217727 #80000000 ]"});
  EXPECT_TRUE(mask.IsSet(0xFFFFFFFF));
  EXPECT_EQ(mask.Count(), 1u);
  Read({"[#0:134217728 #0:4294967295 #0 ]"}, mask);
  EXPECT_EQ(mask.Count(), 1u) << "zero words may go beyond";
  Read({"[#0:134217728 #0:9 #5:0 ]"}, mask);
  EXPECT_EQ(mask.Count(), 1u) << "no word at all, too";
  EXPECT_EQ(Written(mask), Pieces{"[#0:134217727 #80000000 ]"});
}

// To look at each word up to the bit would take many minutes.
TEST(BlkBitUtilsTest, OneFarBitIsWrittenManyTimes) {
  const omi_BlkBitVect mask = Read({"[#0:134217727 #80000000 ]"});
  for (int round = 0; round < 5000; ++round) {
    ASSERT_EQ(Written(mask), Pieces{"[#0:134217727 #80000000 ]"});
  }
}

// One step for each word would be two million.
TEST(BlkBitUtilsTest, WordsBeforeOneFarBitAreNotLookedAt) {
  const omi_BlkBitVect mask = Read({"[#0:2000000 #80000000 ]"});
  EXPECT_EQ(Written(mask), Pieces{"[#0:2000000 #80000000 ]"});
  const std::int64_t steps = StepsOf([&] { utl_BlkBitUtils::GetMaskString(mask); });
  if (steps == 0) {
    GTEST_SKIP() << kNoSteps;
  }
  EXPECT_LT(steps, 100'000);
}

TEST(BlkBitUtilsTest, RandomVectorsThereAndBack) {
  std::mt19937 random(1);
  for (int round = 0; round < 60; ++round) {
    const std::uint32_t size = static_cast<std::uint32_t>(random()) % 100000 + 1;
    omi_BlkBitVect mask;
    // From a few bits to nearly all, with runs of full words.
    for (std::uint32_t i = static_cast<std::uint32_t>(random()) % size; i > 0; --i) {
      mask.Set(static_cast<std::uint32_t>(random()) % size);
    }
    for (std::uint32_t i = static_cast<std::uint32_t>(random()) % 400; i > 0; --i) {
      mask.SetCell(i + 100, 0xFFFFFFFF);
    }
    const Pieces pieces = Written(mask);
    const omi_BlkBitVect back = Read(pieces);
    EXPECT_EQ(Words(back, 3200), Words(mask, 3200));
    EXPECT_EQ(back.Count(), mask.Count());
    for (const std::string& piece : pieces) {
      EXPECT_LE(std::count(piece.begin(), piece.end(), '#'), 7);
    }
  }
}

TEST(BlkBitUtilsTest, DamagedTextsKeepTheCountOfBitsRight) {
  std::mt19937 random(2);
  const std::string characters = "[]# :0123456789abcdefx";
  for (int round = 0; round < 20000; ++round) {
    Pieces pieces(random() % 3 + 1);
    for (std::string& piece : pieces) {
      for (std::size_t i = random() % 25; i > 0; --i) {
        piece += characters[random() % characters.size()];
      }
      // Long runs would only take time here.
      for (std::size_t at = 0; (at = piece.find(':', at)) != std::string::npos; ++at) {
        piece.insert(std::min(at + 4, piece.size()), " ");
      }
    }
    omi_BlkBitVect mask;
    try {
      Read(pieces, mask);
    } catch (const nex_AssertException&) {
    }
    std::uint64_t count = 0;
    for (std::int64_t cell = omi_BlkBitVectTrav(mask).Last() / 32; cell >= 0; --cell) {
      count += static_cast<std::uint64_t>(
          std::popcount(mask.Cell(static_cast<std::uint64_t>(cell))));
    }
    ASSERT_EQ(mask.Count(), count);
  }
}

}  // namespace
