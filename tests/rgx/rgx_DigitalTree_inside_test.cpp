#include "rgx/impl/rgx_DigitalTree.h"

#include <gtest/gtest.h>

#include <random>

#include "rgx/TreeModel.h"

namespace {

using Tree = rgx_DigitalTree<int>;

// "key(first,second)", "-" for no node, a leaf without brackets.
std::string Shape(const Tree::Node* node) {
  if (node == nullptr) {
    return "-";
  }
  std::string key = std::string(node->key);
  if (node->child[0] == nullptr && node->child[1] == nullptr) {
    return key;
  }
  return key + "(" + Shape(node->child[0].get()) + "," + Shape(node->child[1].get()) +
         ")";
}

void CollectPlaces(const Tree::Node* node, const std::string& place,
                   std::map<std::string, std::string>& places) {
  if (node != nullptr) {
    places[place] = std::string(node->key);
    CollectPlaces(node->child[0].get(), place + '0', places);
    CollectPlaces(node->child[1].get(), place + '1', places);
  }
}

Tree TreeOf(std::initializer_list<const char*> keys) {
  Tree tree;
  int value = 0;
  for (const char* key : keys) {
    tree.Insert(key, ++value);
  }
  return tree;
}

TEST(RgxDigitalTreeTest, EmptyTree) {
  const Tree tree;
  EXPECT_EQ(tree.Size(), 0);
  EXPECT_EQ(tree.Root(), nullptr);
  EXPECT_EQ(tree.Find(""), nullptr);
  EXPECT_TRUE(tree.Keys().empty());
}

// The lowest bits: a, c, e, ... are 1, b, d, f, ... are 0.
TEST(RgxDigitalTreeTest, ShapeByTheLowestBits) {
  EXPECT_EQ(Shape(TreeOf({"b", "d", "a", "c", "f"}).Root()), "b(d(f,-),a(-,c))");
}

TEST(RgxDigitalTreeTest, InsertionOrderDecidesTheShape) {
  EXPECT_EQ(Shape(TreeOf({"f", "c", "a", "d", "b"}).Root()), "f(d(b,-),c(-,a))");
}

TEST(RgxDigitalTreeTest, BitsComeFromFrontAndBackInTurn) {
  // "abcd" is led by the characters a, d, b, c, c and then by its end.
  const Tree tree = TreeOf({"b", "a", "ab", "abb", "abbc", "abcd"});
  EXPECT_EQ(Shape(tree.Root()), "b(-,a(ab(abb(-,abcd),-),abbc))");
}

TEST(RgxDigitalTreeTest, DepthBeyondTheLengthIsZero) {
  // "" has no bits, "a" is 1 at the depths 0 and 1 only.
  EXPECT_EQ(Shape(TreeOf({"x", "y", "z", "a", "A", ""}).Root()), "x(z(,-),y(-,a(A,-)))");
}

TEST(RgxDigitalTreeTest, KeysWithHighAndZeroBytes) {
  Tree tree;
  tree.Insert(cow_String("\0a", 2), 1);
  tree.Insert(cow_String("\0b", 2), 2);
  tree.Insert("\xff", 3);
  EXPECT_EQ(*tree.Find(cow_String("\0a", 2)), 1);
  EXPECT_EQ(*tree.Find(cow_String("\0b", 2)), 2);
  EXPECT_EQ(*tree.Find("\xff"), 3);
  EXPECT_EQ(tree.Find(""), nullptr);
  EXPECT_EQ(tree.Root()->child[1]->key, "\xff");
}

TEST(RgxDigitalTreeTest, EqualKeyReplacesTheValue) {
  Tree tree = TreeOf({"b", "a"});
  EXPECT_EQ(tree.Insert("a", 7), 7);
  EXPECT_EQ(*tree.Find("a"), 7);
  EXPECT_EQ(tree.Size(), 2);
}

TEST(RgxDigitalTreeTest, KeysAreListedNodeFirst) {
  const Tree tree = TreeOf({"b", "d", "a", "c", "f"});
  std::string listed;
  for (const cow_String& key : tree.Keys()) {
    listed += std::string(key);
  }
  EXPECT_EQ(listed, "bdfac");
}

TEST(RgxDigitalTreeTest, RemovalPrefersSecondChildren) {
  Tree tree = TreeOf({"b", "d", "a", "c", "f"});
  tree.Remove("b");
  EXPECT_EQ(Shape(tree.Root()), "a(d(f,-),c)");
  tree.Remove("a");
  EXPECT_EQ(Shape(tree.Root()), "c(d(f,-),-)");
  tree.Remove("c");
  EXPECT_EQ(Shape(tree.Root()), "d(f,-)");
  EXPECT_EQ(*tree.Find("f"), 5);
  EXPECT_EQ(tree.Size(), 2);
}

TEST(RgxDigitalTreeTest, RemovalOfALeafAndOfAnAbsentKey) {
  Tree tree = TreeOf({"b", "d"});
  tree.Remove("x");
  EXPECT_EQ(tree.Size(), 2);
  tree.Remove("d");
  EXPECT_EQ(Shape(tree.Root()), "b");
  tree.Remove("b");
  EXPECT_EQ(tree.Root(), nullptr);
  EXPECT_EQ(tree.Size(), 0);
}

TEST(RgxDigitalTreeTest, RandomKeysAgainstTheModel) {
  std::mt19937 random(4711);
  Tree tree;
  TreeModel model;
  for (int step = 0; step < 20000; ++step) {
    std::string key(random() % 7, ' ');
    for (char& c : key) {
      c = static_cast<char>('a' + random() % 4);
    }
    if (random() % 2 == 0) {
      tree.Insert(cow_String(key), step);
      model.Insert(key);
      ASSERT_EQ(*tree.Find(cow_String(key)), step);
    } else {
      tree.Remove(cow_String(key));
      model.Remove(key);
      ASSERT_EQ(tree.Find(cow_String(key)), nullptr);
    }
    if (step % 50 == 0) {
      std::map<std::string, std::string> places;
      CollectPlaces(tree.Root(), "", places);
      ASSERT_EQ(places, model.Places()) << "step " << step;
      ASSERT_EQ(tree.Size(), static_cast<int>(places.size()));
    }
  }
}

}  // namespace
