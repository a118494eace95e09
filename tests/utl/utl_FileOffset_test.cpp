#include "utl/utl_FileOffset.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_AssertException.h"

namespace {

TEST(FileOffsetTest, IsEightBytesAndStartsAtZero) {
  static_assert(sizeof(utl_FileOffset) == 8);
  EXPECT_EQ(utl_FileOffset(), 0);
}

TEST(FileOffsetTest, ConvertsFromAndToIntegersAndDoubles) {
  const utl_FileOffset offset = std::int64_t{5'000'000'000};
  const std::int64_t bytes = offset;
  EXPECT_EQ(bytes, 5'000'000'000);
  EXPECT_EQ(static_cast<double>(offset), 5e9);
  EXPECT_EQ(utl_FileOffset(static_cast<std::int64_t>(5e9 - 4.0)), 4'999'999'996);
}

TEST(FileOffsetTest, CalculatesAndCompares) {
  utl_FileOffset offset = 10;
  offset += 5;
  EXPECT_EQ(offset, 15);
  offset -= 20;
  EXPECT_EQ(offset, -5);
  const utl_FileOffset sum = offset + 4 * utl_FileOffset(3);
  EXPECT_EQ(sum, 7);
  EXPECT_TRUE(offset < sum && sum != offset && sum >= 7 && sum == utl_FileOffset(7));
}

struct Difference {
  std::int64_t offset;
  std::int64_t other;
  int expected;
};

TEST(FileOffsetTest, DifferenceIn32Bits) {
  const Difference accepted[] = {
      {0, 0, 0},
      {5'000'000'010, 5'000'000'000, 10},
      {5'000'000'000, 5'000'000'010, -10},
      {2'147'483'647, 0, INT32_MAX},
      {0, 2'147'483'648, INT32_MIN},
      {INT64_MAX, INT64_MAX - INT32_MAX, INT32_MAX},
      {INT64_MIN, INT64_MIN + 1, -1},
  };
  for (const Difference& difference : accepted) {
    EXPECT_EQ(utl_FileOffset(difference.offset).DiffAsInt32(difference.other),
              difference.expected)
        << difference.offset << " - " << difference.other;
  }
}

TEST(FileOffsetTest, DifferenceThatDoesNotFit) {
  const Difference rejected[] = {
      {2'147'483'648, 0, 0}, {-2'147'483'649, 0, 0},    {0, 2'147'483'649, 0},
      {4'294'967'296, 0, 0}, {INT64_MAX, INT64_MIN, 0}, {INT64_MIN, INT64_MAX, 0},
      {INT64_MAX, -1, 0},
  };
  for (const Difference& difference : rejected) {
    SCOPED_TRACE(difference.offset);
    EXPECT_THROW_FROM(utl_FileOffset(difference.offset).DiffAsInt32(difference.other),
                      nex_AssertException, "d >= INT_MIN && d <= INT_MAX",
                      "utl/impl/utl_FileOffset");
  }
}

}  // namespace
