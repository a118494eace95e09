// The tree map as a range of the standard library.

#include <gtest/gtest.h>

#include <algorithm>
#include <ranges>
#include <string>
#include <vector>

#include "utl/omi_Btree.h"

namespace {

using Ids = omi_Btree<cow_String, int>;
using Numbers = omi_Btree<int, int>;

static_assert(std::ranges::forward_range<const Ids>);
static_assert(std::ranges::forward_range<const Numbers>);
static_assert(std::ranges::forward_range<const omi_Btree<cow_String, void*>>);

TEST(BtreeRangeTest, EntriesComeInTheOrderOfTheKeys) {
  Numbers map;
  for (const int key : {5, 1, 9, 3, 7}) {
    map.Insert(key, 10 * key);
  }
  std::vector<int> seen;
  for (const auto& [key, value] : map) {
    seen.push_back(key);
    seen.push_back(value);
  }
  EXPECT_EQ(seen, (std::vector<int>{1, 10, 3, 30, 5, 50, 7, 70, 9, 90}));
}

TEST(BtreeRangeTest, EmptyMapIsAnEmptyRange) {
  const Ids map;
  EXPECT_TRUE(std::ranges::empty(map));
  EXPECT_TRUE(map.begin() == map.end());
}

TEST(BtreeRangeTest, AlgorithmsWalkIt) {
  Ids map;
  map.Insert(std::string("wood"), 3);
  map.Insert(std::string("steel"), 7);
  map.Insert(std::string("glass"), 5);
  const auto largest =
      std::ranges::max_element(map, {}, [](const auto& entry) { return entry.second; });
  EXPECT_EQ((*largest).first, "steel");
  EXPECT_EQ(largest.Value(), 7);
  EXPECT_EQ(std::ranges::distance(map), 3);
  std::string keys;
  for (const cow_String& key :
       map | std::views::transform([](const auto& entry) { return entry.first; })) {
    keys += std::string_view(key);
  }
  EXPECT_EQ(keys, "glasssteelwood");
}

TEST(BtreeRangeTest, EntriesReferToTheMap) {
  Ids map;
  map.Insert("a", 1);
  EXPECT_EQ(&(*map.begin()).first, &map.Root()->Key());
  EXPECT_EQ(&(*map.begin()).second, &map.Root()->Value());
}

TEST(BtreeRangeTest, CopiesGoTheirOwnWay) {
  Numbers map;
  map.Insert(1, 1);
  map.Insert(2, 2);
  omi_BtreeIterator<int, int> first = map.begin();
  const omi_BtreeIterator<int, int> before = first++;
  EXPECT_EQ(before.Key(), 1);
  EXPECT_EQ(first.Key(), 2);
  EXPECT_FALSE(before == first);
  EXPECT_TRUE(before == map.begin());
  EXPECT_TRUE(++first == map.end());
  const omi_BtreeIterator<int, int> end(map);
  EXPECT_TRUE(first == end);
  EXPECT_FALSE(first == before);
}

TEST(BtreeRangeTest, IteratorsOfNoMapAreEqual) {
  const omi_BtreeIterator<int, int> none;
  const omi_BtreeIterator<int, int> other;
  EXPECT_TRUE(none == other);
}

}  // namespace
