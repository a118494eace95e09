#include "omi/omi_BlkBitVect.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

namespace {

constexpr std::uint32_t kBlockBits = 131072;
constexpr std::uint32_t kLastBit = 0xFFFFFFFF;

constexpr std::uint32_t kBits[] = {
    0, 1, 31, 32, 40, kBlockBits - 1, kBlockBits, 5 * kBlockBits + 77, kLastBit};

std::int64_t Last(const omi_BlkBitVect& vector) {
  return omi_BlkBitVectTrav(vector).Last();
}

TEST(OmiBlkBitVectTest, EmptyVectorReadsAsZeros) {
  const omi_BlkBitVect vector;
  for (const std::uint32_t bit : kBits) {
    EXPECT_FALSE(vector.IsSet(bit)) << bit;
    EXPECT_EQ(vector.Cell(bit / 32), 0U) << bit;
  }
  EXPECT_EQ(vector.Count(), 0U);
}

TEST(OmiBlkBitVectTest, SetSetsOneBit) {
  for (const std::uint32_t bit : kBits) {
    SCOPED_TRACE(bit);
    omi_BlkBitVect vector;
    vector.Set(bit);
    EXPECT_TRUE(vector.IsSet(bit));
    EXPECT_FALSE(vector.IsSet(bit ^ 1U));
    EXPECT_FALSE(vector.IsSet(bit ^ 32U));
    EXPECT_FALSE(vector.IsSet(bit ^ kBlockBits));
    EXPECT_EQ(vector.Cell(bit / 32), 1U << bit % 32);
    EXPECT_EQ(vector.Count(), 1U);
  }
}

TEST(OmiBlkBitVectTest, BitSetTwiceCountsOnce) {
  omi_BlkBitVect vector;
  vector.Set(40);
  vector.Set(40);
  EXPECT_EQ(vector.Count(), 1U);
}

TEST(OmiBlkBitVectTest, SetCellReplacesTheCellAndKeepsTheCount) {
  omi_BlkBitVect vector;
  vector.Set(0);
  vector.SetCell(3, 0xFF);
  EXPECT_EQ(vector.Count(), 9U);
  EXPECT_TRUE(vector.IsSet(96));
  EXPECT_TRUE(vector.IsSet(103));
  EXPECT_FALSE(vector.IsSet(104));
  vector.SetCell(3, 0x80000001);
  EXPECT_EQ(vector.Cell(3), 0x80000001);
  EXPECT_EQ(vector.Count(), 3U);
  vector.SetCell(3, 0);
  EXPECT_EQ(vector.Cell(3), 0U);
  EXPECT_EQ(vector.Count(), 1U);
}

TEST(OmiBlkBitVectTest, LastCellIsTheLimit) {
  omi_BlkBitVect vector;
  vector.SetCell(omi_BlkBitVect::kCells - 1, 0xFFFFFFFF);
  EXPECT_TRUE(vector.IsSet(kLastBit));
  EXPECT_THROW(vector.SetCell(omi_BlkBitVect::kCells, 1), std::out_of_range);
  EXPECT_THROW(vector.SetCell(~std::uint64_t{0}, 1), std::out_of_range);
  EXPECT_THROW(vector.SetCell(omi_BlkBitVect::kCells, 0), std::out_of_range);
  EXPECT_EQ(vector.Cell(omi_BlkBitVect::kCells), 0U);
  EXPECT_EQ(vector.Cell(~std::uint64_t{0}), 0U);
  EXPECT_EQ(vector.Count(), 32U);
}

TEST(OmiBlkBitVectTest, RunsOfEqualCells) {
  constexpr std::uint64_t kBlockCells = kBlockBits / 32;
  constexpr std::uint64_t kEnd = omi_BlkBitVect::kCells;
  EXPECT_EQ(omi_BlkBitVect().RunEnd(0), kEnd);
  EXPECT_EQ(omi_BlkBitVect().RunEnd(kEnd - 1), kEnd);

  omi_BlkBitVect vector;
  const struct {
    std::uint64_t begin, end;
    std::uint32_t bits;
  } runs[] = {
      {0, 1, 5},
      {1, 2, 6},
      {2, 4, 0},                                      // zeros that are stored
      {4, kBlockCells, 7},                            // up to a block's end
      {kBlockCells, 3 * kBlockCells, 0},              // blocks that are not
      {3 * kBlockCells, 4 * kBlockCells + 1, 8},      // over a block's end
      {4 * kBlockCells + 1, 6 * kBlockCells + 9, 0},  // zeros of both kinds
      {6 * kBlockCells + 9, 7 * kBlockCells, 9},      // before blocks that are not there
      {7 * kBlockCells, kEnd - 1, 0},
      {kEnd - 1, kEnd, 1},
  };
  for (const auto& [begin, end, bits] : runs) {
    for (std::uint64_t cell = begin; bits != 0 && cell < end; ++cell) {
      vector.SetCell(cell, bits);
    }
  }
  for (const auto& [begin, end, bits] : runs) {
    EXPECT_EQ(vector.RunEnd(begin), end) << begin;
    EXPECT_EQ(vector.RunEnd(end - 1), end) << end;
  }
}

TEST(OmiBlkBitVectTest, CopyIsIndependent) {
  omi_BlkBitVect vector;
  vector.Set(40);
  omi_BlkBitVect copy = vector;
  copy.Set(41);
  EXPECT_FALSE(vector.IsSet(41));
  EXPECT_TRUE(copy.IsSet(40));
  EXPECT_EQ(vector.Count(), 1U);
}

TEST(OmiBlkBitVectTravTest, LastOfAnEmptyVectorIsMinusOne) {
  EXPECT_EQ(Last(omi_BlkBitVect()), -1);
}

TEST(OmiBlkBitVectTravTest, LastIsTheHighestSetBit) {
  omi_BlkBitVect vector;
  for (const std::uint32_t bit : kBits) {
    vector.Set(bit);
    EXPECT_EQ(Last(vector), std::int64_t{bit});
  }
}

TEST(OmiBlkBitVectTravTest, LastPassesOverClearedCells) {
  omi_BlkBitVect vector;
  vector.Set(40);
  vector.SetCell(100000, 5);
  vector.SetCell(100000, 0);
  EXPECT_EQ(Last(vector), 40);
  vector.SetCell(1, 0);
  EXPECT_EQ(Last(vector), -1);
}

}  // namespace
