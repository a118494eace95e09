#include "omi/omi_strtoSizeT.h"

#include <gtest/gtest.h>

namespace {

struct Case {
  const char* text;
  std::size_t number;
};

constexpr std::size_t kLargest = 18446744073709551615U;

constexpr Case kCases[] = {
    {"0", 0},
    {"42", 42},
    {"007", 7},
    {"42x", 42},
    {"4294967296", 4294967296U},
    {"18446744073709551614", kLargest - 1},
    {"18446744073709551615", kLargest},
    {"18446744073709551616", kLargest},
    {"99999999999999999999999999999999999999999", kLargest},
    {"000000000000000000000000000000000000000009", 9},
    {"", 0},
    {"x", 0},
    {" 42", 0},
    {"-1", 0},
    {"+1", 0},
    {"0x10", 0},
};

TEST(OmiStrtoSizeTTest, Table) {
  for (const Case& test : kCases) {
    EXPECT_EQ(omi_strtoSizeT(test.text), test.number) << test.text;
  }
}

}  // namespace
