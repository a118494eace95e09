#include "utl/omi_Btree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <functional>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "atr/atr_naturalOrder.h"
#include "common/expect/PeakMemory.h"
#include "utl/BtreeModel.h"

namespace {

// Random insertions and removals of `keys`: contents against std::map and shape against
// the model after each; iterations both ways now and then.
template <class K, class V>
void ExpectContentsAndShape(const std::vector<K>& keys, const std::vector<V>& values,
                            typename BtreeModel<K, V>::Order order) {
  const auto less = [&](const K& a, const K& b) { return order(a, b) < 0; };
  omi_Btree<K, V> tree;
  BtreeModel<K, V> model(order);
  std::map<K, V, decltype(less)> map(less);
  std::mt19937 random(20070301);
  for (int step = 0; step < 100000; ++step) {
    const K& key = keys[random() % keys.size()];
    const V& value = values[random() % values.size()];
    // Phases of growth and of shrinking.
    if (random() % 100 < ((step / 5000) % 2 == 0 ? 60u : 40u)) {
      const bool isNew = map.insert({key, value}).second;
      ASSERT_EQ(tree.Insert(key, value), isNew);
      ASSERT_EQ(model.Insert(key, value), isNew);
    } else {
      const bool isThere = map.erase(key) == 1;
      ASSERT_EQ(tree.Remove(key), isThere);
      ASSERT_EQ(model.Remove(key), isThere);
    }
    ASSERT_EQ(tree.Size(), static_cast<int>(map.size()));
    ASSERT_TRUE(model.Equals(tree.Root())) << "step " << step;
    const K& asked = keys[random() % keys.size()];
    const auto found = map.find(asked);
    ASSERT_EQ(tree.Find(asked), found == map.end() ? tree.GetNullValue() : found->second);

    if (step % 1000 != 0) {
      continue;
    }
    omi_BtreeIterator<K, V> i(tree);
    auto forth = map.begin();
    for (i.First(); !i.AtEnd(); i.Next(), ++forth) {
      ASSERT_EQ(i.Key(), forth->first);
      ASSERT_EQ(i.Value(), forth->second);
    }
    ASSERT_EQ(forth, map.end());
    auto back = map.rbegin();
    for (i.Last(); !i.AtEnd(); i.Prev(), ++back) {
      ASSERT_EQ(i.Key(), back->first);
    }
    ASSERT_EQ(back, map.rend());
  }
}

std::vector<int> SomeInts() {
  std::vector<int> keys;
  keys.reserve(300);
  for (int i = -150; i < 150; ++i) {
    keys.push_back(i * 7919);
  }
  return keys;
}

std::vector<cow_String> SomeNames() {
  std::vector<cow_String> keys;
  for (int i = 0; i < 150; ++i) {
    keys.push_back(("file" + std::to_string(i)).c_str());
  }
  for (int i = 0; i < 128; ++i) {
    keys.push_back((std::string(1, static_cast<char>(2 * i + 1)) + "x").c_str());
  }
  return keys;
}

int ByBytes(const cow_String& a, const cow_String& b) {
  return a < b ? -1 : a == b ? 0 : 1;
}

// Switches natural order on for as long as it lives.
struct NaturalOrder {
  NaturalOrder() { atr_setNaturalOrder(true); }
  ~NaturalOrder() { atr_setNaturalOrder(false); }
};

int ByNaturalOrder(const cow_String& a, const cow_String& b) {
  return strnatcmp(a.c_str(), b.c_str());
}

TEST(OmiBtreeTest, IntsKeepContentsAndShape) {
  ExpectContentsAndShape<int, int>(SomeInts(), {-1, 0, 5, INT_MAX},
                                   [](int a, int b) { return a < b ? -1 : a > b; });
}

TEST(OmiBtreeTest, StringsToIntsKeepContentsAndShape) {
  ExpectContentsAndShape<cow_String, int>(SomeNames(), {1, 2, 3}, ByBytes);
}

TEST(OmiBtreeTest, StringsToIntsInNaturalOrderKeepContentsAndShape) {
  NaturalOrder on;
  ExpectContentsAndShape<cow_String, int>(SomeNames(), {1, 2, 3}, ByNaturalOrder);
}

TEST(OmiBtreeTest, StringsToPointersKeepContentsAndShape) {
  int a, b;
  ExpectContentsAndShape<cow_String, void*>(SomeNames(), {&a, &b}, ByBytes);
}

TEST(OmiBtreeTest, StringsToPointersInNaturalOrderKeepContentsAndShape) {
  NaturalOrder on;
  int a, b;
  ExpectContentsAndShape<cow_String, void*>(SomeNames(), {&a, &b}, ByNaturalOrder);
}

// Inserts the keys, then removes them in the same order: the shape after each.
void ExpectShape(const std::vector<int>& keys, BtreeModel<int, int>::Order order) {
  omi_Btree<int, int> tree;
  BtreeModel<int, int> model(std::move(order));
  for (const int key : keys) {
    ASSERT_EQ(tree.Insert(key, 1), model.Insert(key, 1)) << key;
    ASSERT_TRUE(model.Equals(tree.Root())) << "inserted " << key;
  }
  for (const int key : keys) {
    ASSERT_EQ(tree.Remove(key), model.Remove(key)) << key;
    ASSERT_TRUE(model.Equals(tree.Root())) << "removed " << key;
  }
}

TEST(OmiBtreeTest, SortedKeysKeepTheShape) {
  std::vector<int> up, down, inwards;
  for (int i = 0; i < 1000; ++i) {
    up.push_back(i);
    down.push_back(-i);
    inwards.push_back(i % 2 == 0 ? i : 1000000 - i);
  }
  for (const std::vector<int>& keys : {up, down, inwards}) {
    ExpectShape(keys, [](int a, int b) { return a < b ? -1 : a > b; });
  }
}

// Their comparison wraps, so that the order contradicts itself; what has been inserted
// may then not be found. The shape is what the rules make of it all the same.
TEST(OmiBtreeTest, KeysOfTheWholeRangeKeepTheShape) {
  std::mt19937 random(6);
  std::vector<int> keys = {INT_MIN, INT_MAX, 0, -1, 1};
  for (int i = 0; i < 2000; ++i) {
    keys.push_back(static_cast<int>(random()));
  }
  ExpectShape(keys, [](int a, int b) {
    const std::int64_t difference = std::int64_t{a} - b;
    return static_cast<int>(static_cast<std::uint32_t>(difference));
  });
}

TEST(OmiBtreeTest, InsertOfAnExistingKeyKeepsTheFirstValue) {
  omi_Btree<int, int> tree;
  EXPECT_TRUE(tree.Insert(1, 10));
  EXPECT_FALSE(tree.Insert(1, 20));
  EXPECT_EQ(tree.Find(1), 10);
  EXPECT_EQ(tree.Size(), 1);
}

TEST(OmiBtreeTest, ThreeInOrderStayAChainAndTheFourthRotates) {
  omi_Btree<int, int> tree;
  for (int key : {1, 2, 3}) {
    tree.Insert(key, key);
  }
  EXPECT_EQ(tree.Root()->Key(), 1);
  EXPECT_EQ(tree.Root()->Right()->Key(), 2);
  EXPECT_EQ(tree.Root()->Right()->Right()->Key(), 3);
  EXPECT_EQ(tree.Root()->Height(), 2);
  tree.Insert(4, 4);
  EXPECT_EQ(tree.Root()->Key(), 2);
  EXPECT_EQ(tree.Root()->Left()->Key(), 1);
  EXPECT_EQ(tree.Root()->Right()->Key(), 3);
  EXPECT_EQ(tree.Root()->Right()->Right()->Key(), 4);
}

TEST(OmiBtreeTest, RemovingTheOnlyEntryLeavesAnEmptyMap) {
  omi_Btree<cow_String, int> tree;
  EXPECT_FALSE(tree.Remove("a"));
  tree.Insert("a", 1);
  EXPECT_FALSE(tree.IsEmpty());
  EXPECT_TRUE(tree.Remove("a"));
  EXPECT_TRUE(tree.IsEmpty());
  EXPECT_EQ(tree.Root(), nullptr);
  omi_BtreeIterator<cow_String, int> i(tree);
  i.First();
  EXPECT_TRUE(i.AtEnd());
  i.Last();
  EXPECT_TRUE(i.AtEnd());
}

TEST(OmiBtreeTest, NodeWithTwoChildrenIsReplacedByTheNextLargerKey) {
  omi_Btree<int, int> tree;
  for (int key : {50, 30, 80, 20, 40, 70, 90, 60}) {
    tree.Insert(key, key);
  }
  ASSERT_EQ(tree.Root()->Key(), 50);
  tree.Remove(50);
  EXPECT_EQ(tree.Root()->Key(), 60);
}

TEST(OmiBtreeTest, NullValueStandsForAnAbsentKey) {
  omi_Btree<int, int> ints;
  omi_Btree<cow_String, int> names;
  omi_Btree<cow_String, void*> pointers;
  EXPECT_EQ(ints.GetNullValue(), -1);
  EXPECT_EQ(names.GetNullValue(), -1);
  EXPECT_EQ(pointers.GetNullValue(), nullptr);
  EXPECT_EQ(ints.Find(1), -1);
  EXPECT_EQ(names.Find("a"), -1);
  EXPECT_EQ(pointers.Find("a"), nullptr);
}

TEST(OmiBtreeTest, NaturalOrderPutsFile9BeforeFile10) {
  const auto first = [] {
    omi_Btree<cow_String, int> tree;
    tree.Insert("file10", 10);
    tree.Insert("file9", 9);
    omi_BtreeIterator<cow_String, int> i(tree);
    i.First();
    return i.Key();
  };
  EXPECT_EQ(first(), "file10");
  NaturalOrder on;
  EXPECT_EQ(first(), "file9");
}

TEST(OmiBtreeTest, StringKeysCountUpToTheirFirstZeroByte) {
  const auto check = [] {
    omi_Btree<cow_String, int> tree;
    EXPECT_TRUE(tree.Insert(cow_String("a\0x", 3), 1));
    EXPECT_FALSE(tree.Insert(cow_String("a\0y", 3), 2));
    EXPECT_FALSE(tree.Insert("a", 3));
    EXPECT_EQ(tree.Find("a"), 1);
    EXPECT_TRUE(tree.Insert(cow_String(), 4));
    EXPECT_EQ(tree.Find(""), 4);
  };
  check();
  NaturalOrder on;
  check();
}

TEST(OmiBtreeTest, NodesAnswerForTheirSubtrees) {
  omi_BtreeNode<int, int> node(5, 50), parent(0, 0);
  EXPECT_EQ(node.Height(), 0);
  EXPECT_TRUE(node.Insert(3, 30));
  EXPECT_TRUE(node.Insert(8, 80));
  EXPECT_FALSE(node.Insert(5, 0));
  EXPECT_FALSE(node.Insert(8, 0));
  EXPECT_EQ(node.Height(), 1);
  omi_BtreeNode<int, int>* const found = node.Find(8);
  ASSERT_EQ(found, node.Right());
  EXPECT_EQ(found->Value(), 80);
  EXPECT_EQ(found->Find(3), nullptr) << "not below it";
  EXPECT_EQ(node.Find(5), &node);
  EXPECT_FALSE(node.Remove(9, parent));
  EXPECT_TRUE(node.Remove(8, parent));
  EXPECT_EQ(node.Right(), nullptr);
  EXPECT_TRUE(node.Remove(3, parent));
  EXPECT_EQ(node.Height(), 0);
}

TEST(OmiBtreeTest, ANodeDoesNotRebalanceItself) {
  omi_BtreeNode<int, int> node(1, 1);
  for (int key : {2, 3, 4}) {
    node.Insert(key, key);
  }
  EXPECT_EQ(node.Height(), 3);
  EXPECT_EQ(node.Right()->Key(), 2);
  node.Insert(5, 5);
  EXPECT_EQ(node.Right()->Key(), 3) << "what is below it is";
  EXPECT_EQ(node.Height(), 3);
}

TEST(OmiBtreeTest, WhatReplacesANodeGoesWhereThatStoodInItsParent) {
  omi_BtreeNode<int, int> parent(5, 5);
  for (int key : {3, 8, 2, 9}) {
    parent.Insert(key, key);
  }
  EXPECT_TRUE(parent.Find(8)->Remove(8, parent));
  ASSERT_NE(parent.Right(), nullptr);
  EXPECT_EQ(parent.Right()->Key(), 9);
  EXPECT_EQ(parent.Left()->Key(), 3);
  EXPECT_EQ(parent.Height(), 2);
  EXPECT_TRUE(parent.Find(3)->Remove(3, parent));
  ASSERT_NE(parent.Left(), nullptr);
  EXPECT_EQ(parent.Left()->Key(), 2);
  EXPECT_EQ(parent.Right()->Key(), 9);
  EXPECT_EQ(parent.Height(), 1);
}

TEST(OmiBtreeTest, AKeyOfTheMapItselfMayBeRemoved) {
  omi_Btree<cow_String, int> tree;
  for (const char* key : {"a", "b", "c", "d"}) {
    tree.Insert(key, 1);
  }
  while (!tree.IsEmpty()) {
    const cow_String& key = tree.Root()->Key();
    ASSERT_TRUE(tree.Remove(key));
  }
  EXPECT_EQ(tree.Root(), nullptr);
}

TEST(OmiBtreeTest, IntComparisonWraps) {
  omi_Btree<int, int> tree;
  tree.Insert(INT_MIN, 1);
  tree.Insert(INT_MAX, 2);  // the difference wraps to -1: to the left
  ASSERT_NE(tree.Root()->Left(), nullptr);
  EXPECT_EQ(tree.Root()->Left()->Key(), INT_MAX);
  EXPECT_EQ(tree.Root()->Right(), nullptr);
}

TEST(OmiBtreeTest, CopiesAreDeepAndKeepTheShape) {
  omi_Btree<cow_String, int> tree;
  for (const cow_String& key : SomeNames()) {
    tree.Insert(key, key.Length());
  }
  omi_Btree<cow_String, int> copy(tree), assigned;
  assigned.Insert("other", 1);
  assigned = tree;
  const auto* root = tree.Root();
  tree = *&tree;
  EXPECT_EQ(tree.Root(), root);

  const std::function<bool(const omi_BtreeNode<cow_String, int>*,
                           const omi_BtreeNode<cow_String, int>*)>
      same = [&](const auto* a, const auto* b) {
        if (a == nullptr || b == nullptr) {
          return a == b;
        }
        return a != b && a->Key() == b->Key() && a->Value() == b->Value() &&
               a->Height() == b->Height() && same(a->Left(), b->Left()) &&
               same(a->Right(), b->Right());
      };
  EXPECT_TRUE(same(tree.Root(), copy.Root()));
  EXPECT_TRUE(same(tree.Root(), assigned.Root()));
  copy.Remove("file7");
  EXPECT_EQ(tree.Find("file7"), 5);
  EXPECT_EQ(copy.Find("file7"), -1);
  EXPECT_EQ(assigned.Size(), tree.Size());
  assigned = omi_Btree<cow_String, int>();
  EXPECT_TRUE(assigned.IsEmpty());
}

TEST(OmiBtreeTest, IteratorTurnsAndStaysAtTheEnd) {
  omi_Btree<int, int> tree;
  for (int key = 0; key < 10; ++key) {
    tree.Insert(key, key);
  }
  omi_BtreeIterator<int, int> i(tree);
  EXPECT_TRUE(i.AtEnd());
  i.Next();
  i.Prev();
  EXPECT_TRUE(i.AtEnd());
  for (i.First(); i.Key() != 5; i.Next()) {
  }
  i.Prev();
  EXPECT_EQ(i.Key(), 4);
  i.Next();
  i.Next();
  EXPECT_EQ(i.Key(), 6);
  i.Last();
  i.Next();
  EXPECT_TRUE(i.AtEnd());
  i.First();
  i.Prev();
  EXPECT_TRUE(i.AtEnd());
}

// A walk asks for the memory of whole subtrees in a map of that height.
TEST(OmiBtreeTest, LargeMapsAreWalkedBothWays) {
  std::vector<int> keys(20000);
  std::iota(keys.begin(), keys.end(), 0);
  std::vector<int> shuffled = keys;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
  for (const std::vector<int>& inserted : {keys, shuffled}) {
    omi_Btree<int, int> tree;
    for (const int key : inserted) {
      tree.Insert(key, -key);
    }
    omi_BtreeIterator<int, int> i(tree);
    int expected = 0;
    for (i.First(); !i.AtEnd(); i.Next()) {
      ASSERT_EQ(i.Key(), expected);
      ASSERT_EQ(i.Value(), -expected++);
    }
    ASSERT_EQ(expected, 20000);
    for (i.Last(); !i.AtEnd(); i.Prev()) {
      ASSERT_EQ(i.Key(), --expected);
    }
    ASSERT_EQ(expected, 0);
  }
}

// The root's place is taken by the smallest key of its right subtree, until that has no
// left subtree and is as high as before.
TEST(OmiBtreeTest, HighMapsWithoutASubtreeAreWalkedBothWays) {
  constexpr int kEnd = 20000;
  omi_Btree<int, int> tree;
  for (int key = 0; key < kEnd; ++key) {
    tree.Insert(key, -key);
  }
  std::vector<bool> isThere(kEnd, true);
  while (tree.Root()->Right()->Left() != nullptr) {
    const int key = tree.Root()->Key();
    ASSERT_TRUE(tree.Remove(key));
    isThere[static_cast<std::size_t>(key)] = false;
  }
  EXPECT_EQ(tree.Root()->Right()->Height(), 13);
  omi_BtreeIterator<int, int> forth(tree);
  forth.First();
  omi_BtreeIterator<int, int> back(tree);
  back.Last();
  for (int key = 0; key < kEnd; ++key) {
    if (isThere[static_cast<std::size_t>(key)]) {
      ASSERT_EQ(forth.Key(), key);
      forth.Next();
    }
    const int mirrored = kEnd - 1 - key;
    if (isThere[static_cast<std::size_t>(mirrored)]) {
      ASSERT_EQ(back.Key(), mirrored);
      back.Prev();
    }
  }
  EXPECT_TRUE(forth.AtEnd());
  EXPECT_TRUE(back.AtEnd());
}

TEST(OmiBtreeTest, IteratorOfNoMapStaysAtItsEnd) {
  omi_BtreeIterator<int, int> none;
  none.First();
  EXPECT_TRUE(none.AtEnd());
  none.Last();
  EXPECT_TRUE(none.AtEnd());
}

TEST(OmiBtreeTest, MillionSortedInsertions) {
  omi_Btree<int, int> tree;
  for (int key = 0; key < 1000000; ++key) {
    ASSERT_TRUE(tree.Insert(key, -key));
  }
  EXPECT_LT(tree.Root()->Height(), 40);
  omi_BtreeIterator<int, int> i(tree);
  int expected = 0;
  for (i.First(); !i.AtEnd(); i.Next()) {
    ASSERT_EQ(i.Key(), expected++);
  }
  EXPECT_EQ(expected, 1000000);
}

TEST(OmiBtreeTest, MemoryOfLargeMapsIsGivenBack) {
  constexpr int kEntries = 100000;  // of more than 32 bytes
  omi_Btree<int, int> tree;
  for (int key = 0; key < kEntries; ++key) {
    tree.Insert(key, key);
  }
  const std::int64_t before = PeakMemory();
  for (int i = 0; i < 25; ++i) {
    omi_Btree<int, int> copy(tree);
    ASSERT_TRUE(copy.Insert(kEntries, 0));
  }
  EXPECT_LT(PeakMemory() - before, 80 * 1024 * 1024);
}

TEST(OmiBtreeTest, OrderThatUnbalancesTheTreeDoesNotExhaustTheStack) {
  omi_Btree<int, int> tree;
  for (int key = 0; key < 20000; ++key) {
    tree.Insert(key, key);
    tree.Insert(1000000 - key, key);
  }
  const omi_Btree<int, int> copy(tree);
  EXPECT_EQ(copy.Size(), 40000);
  for (int key = 0; key < 20000; ++key) {
    ASSERT_TRUE(tree.Remove(key));
  }
  EXPECT_EQ(tree.Size(), 20000);
}

}  // namespace
