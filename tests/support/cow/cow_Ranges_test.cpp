// The containers as ranges of the standard library.

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <ranges>
#include <vector>

#include "cow/cow_1DArrayList.h"
#include "cow/cow_List.h"
#include "cow/cow_Map.h"
#include "cow/cow_String.h"

namespace {

using Lists = testing::Types<cow_List<int>, cow_1DArray<int>, cow_1DArrayList<int>>;

template <class List>
class CowListRangeTest : public testing::Test {};
TYPED_TEST_SUITE(CowListRangeTest, Lists);

TYPED_TEST(CowListRangeTest, StandsInRangeForAndAlgorithms) {
  static_assert(std::ranges::random_access_range<const TypeParam>);
  TypeParam list;
  for (const int value : {3, 1, 2}) {
    list.Append(value);
  }
  int sum = 0;
  for (const int value : list) {
    sum += value;
  }
  EXPECT_EQ(sum, 6);
  EXPECT_EQ(std::ranges::size(list), 3U);
  EXPECT_EQ(*std::ranges::max_element(list), 3);
  EXPECT_EQ(std::ranges::find(list, 2) - list.begin(), 2);
  auto odd = list | std::views::filter([](int value) { return value % 2 == 1; });
  EXPECT_EQ(std::vector<int>(odd.begin(), odd.end()), (std::vector<int>{3, 1}));
}

TYPED_TEST(CowListRangeTest, WithoutElementsIsEmpty) {
  const TypeParam list;
  EXPECT_TRUE(std::ranges::empty(list));
  EXPECT_EQ(std::ranges::count(list, 0), 0);
}

TYPED_TEST(CowListRangeTest, ReturnedByValueIsARange) {
  const auto make = [] {
    TypeParam list;
    list.Append(1);
    list.Append(2);
    return list;
  };
  auto doubled = make() | std::views::transform([](int value) { return 2 * value; });
  EXPECT_EQ(std::accumulate(doubled.begin(), doubled.end(), 0), 6);
}

TEST(CowMapRangeTest, IsARangeOfPairs) {
  using Map = cow_Map<cow_String, int>;
  static_assert(std::ranges::bidirectional_range<const Map>);
  Map map;
  map.Insert("b", 2);
  map.Insert("a", 1);
  cow_String keys;
  for (const auto& [key, value] : map) {
    keys += key;
  }
  EXPECT_EQ(keys, "ab");
  auto values = std::views::values(map);
  EXPECT_EQ(std::accumulate(values.begin(), values.end(), 0), 3);
  EXPECT_EQ(std::ranges::distance(map), 2);
  EXPECT_TRUE(std::ranges::empty(Map()));
}

}  // namespace
