#include "utl/LongKey.h"

#include <gtest/gtest.h>

#include <bitset>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace {

LongKey Key(std::initializer_list<unsigned int> bits) {
  LongKey key;
  key.setBits(static_cast<unsigned int>(bits.size()), bits.begin());
  return key;
}

std::string Bits(const LongKey& key) {
  std::string bits;
  for (unsigned int bit = 128; bit-- > 0;) {
    bits += key.hasBit(bit) ? '1' : '0';
  }
  return bits;
}

TEST(LongKeyTest, AllBitsAreClearAtFirst) {
  EXPECT_EQ(Bits(LongKey()), std::string(128, '0'));
  EXPECT_EQ(sizeof(LongKey), 16u) << "four words and nothing else";
}

TEST(LongKeyTest, BitsLieInFourWordsTheLowestFirst) {
  const LongKey key = Key({0, 33, 66, 127});
  const std::uint32_t words[] = {1, 2, 4, 0x80000000};
  EXPECT_EQ(std::memcmp(words, &key, sizeof key), 0);
}

template <class T>
concept HasOrEqual = requires(T a, T b) {
  a <= b;
}
|| requires(T a, T b) {
  a >= b;
};
static_assert(HasOrEqual<int>);

TEST(LongKeyTest, ThereIsNoSmallerOrEqual) {
  EXPECT_FALSE(HasOrEqual<LongKey>);
}

TEST(LongKeyTest, EachBitIsSetByItself) {
  for (unsigned int bit = 0; bit < 128; ++bit) {
    const LongKey key = Key({bit});
    for (unsigned int other = 0; other < 128; ++other) {
      EXPECT_EQ(key.hasBit(other), bit == other) << bit << ", " << other;
    }
  }
}

TEST(LongKeyTest, SettingBitsKeepsThoseThatAreSet) {
  LongKey key = Key({0, 31});
  const std::vector<unsigned int> more = {32, 32, 127, 31};
  key.setBits(4, more.data());
  EXPECT_TRUE(key == Key({0, 31, 32, 127}));
  key.setBits(0, nullptr);
  EXPECT_TRUE(key == Key({0, 31, 32, 127}));
}

TEST(LongKeyTest, CopiesAreIndependent) {
  LongKey key = Key({5, 100});
  LongKey copy(key);
  LongKey assigned;
  assigned = key;
  key |= Key({6});
  EXPECT_TRUE(copy == Key({5, 100}));
  EXPECT_TRUE(assigned == Key({5, 100}));
}

TEST(LongKeyTest, KeysAreCombinedWordByWord) {
  const LongKey a = Key({0, 33, 70, 127});
  const LongKey b = Key({0, 34, 70, 126});
  EXPECT_TRUE((a | b) == Key({0, 33, 34, 70, 126, 127}));
  EXPECT_TRUE((a & b) == Key({0, 70}));
  LongKey key = a;
  EXPECT_EQ(&(key |= b), &key);
  EXPECT_TRUE(key == (a | b));
  EXPECT_EQ(&(key &= a), &key);
  EXPECT_TRUE(key == a);
}

TEST(LongKeyTest, AnyBitMakesKeysDiffer) {
  const LongKey key = Key({1, 40, 80, 120});
  EXPECT_TRUE(key == Key({120, 80, 40, 1}));
  EXPECT_FALSE(key != Key({120, 80, 40, 1}));
  for (const unsigned int bit : {0u, 32u, 64u, 96u}) {
    EXPECT_FALSE(key == (key | Key({bit})));
    EXPECT_TRUE(key != (key | Key({bit})));
  }
}

TEST(LongKeyTest, TheHighestBitThatDiffersDecides) {
  LongKey all;
  for (unsigned int bit = 0; bit < 127; ++bit) {
    all |= Key({bit});
  }
  EXPECT_TRUE(Key({127}) > all);
  EXPECT_TRUE(all < Key({127}));
  EXPECT_TRUE(Key({32}) > Key({31, 30}));
  EXPECT_TRUE(Key({127, 64, 1}) > Key({127, 64, 0}));
  EXPECT_FALSE(Key({127, 64, 0}) > Key({127, 64, 1}));
}

TEST(LongKeyTest, EqualKeysAreNeitherGreaterNorSmaller) {
  EXPECT_FALSE(Key({7, 90}) < Key({7, 90}));
  EXPECT_FALSE(Key({7, 90}) > Key({7, 90}));
}

TEST(LongKeyTest, OperatorsAreFoundByTheirQualifiedNames) {
  const LongKey a = Key({3});
  const LongKey b = Key({4});
  EXPECT_TRUE(::operator==(::operator|(a, b), Key({3, 4})));
  EXPECT_TRUE(::operator==(::operator&(a, b), LongKey()));
  EXPECT_TRUE(::operator!=(a, b));
  EXPECT_TRUE(::operator>(b, a));
  EXPECT_TRUE(::operator<(a, b));
}

TEST(LongKeyTest, RandomKeysCompareAsTheirBitsDo) {
  std::mt19937 random(1);
  for (int round = 0; round < 1000; ++round) {
    LongKey a;
    LongKey b;
    for (int i = 0; i < 40; ++i) {
      const LongKey bit = Key({static_cast<unsigned int>(random()) % 128});
      const unsigned int kind = static_cast<unsigned int>(random()) % 16;
      a |= kind != 0 ? bit : LongKey();
      b |= kind != 1 ? bit : LongKey();
    }
    EXPECT_EQ(a > b, Bits(a) > Bits(b));
    EXPECT_EQ(a < b, Bits(a) < Bits(b));
    EXPECT_EQ(a == b, Bits(a) == Bits(b));
    EXPECT_EQ(Bits(a & b),
              (std::bitset<128>(Bits(a)) & std::bitset<128>(Bits(b))).to_string());
    EXPECT_EQ(Bits(a | b),
              (std::bitset<128>(Bits(a)) | std::bitset<128>(Bits(b))).to_string());
  }
}

}  // namespace
