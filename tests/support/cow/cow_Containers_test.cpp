#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "common/expect/ExpectThrow.h"
#include "common/thread/StartLine.h"
#include "cow/cow_1DArray.h"
#include "cow/cow_1DArrayList.h"
#include "cow/cow_List.h"
#include "cow/cow_Map.h"
#include "cow/cow_String.h"
#include "nex/nex_AssertException.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(CowListTest, IsEmptyAtFirst) {
  const cow_List<int> list;
  EXPECT_EQ(list.Length(), 0);
  EXPECT_TRUE(list.IsEmpty());
  EXPECT_THAT(list, ElementsAre());
}

TEST(CowListTest, GrowsAtBothEndsAndIteratesFromTheHead) {
  cow_List<cow_String> list;
  list.Append("b");
  list.Prepend("a");
  list.Append("c");
  EXPECT_EQ(list.Length(), 3);
  EXPECT_FALSE(list.IsEmpty());
  EXPECT_THAT(list, ElementsAre("a", "b", "c"));
}

TEST(CowListTest, CopiesShareUntilOneChanges) {
  cow_List<int> a;
  a.Append(1);
  cow_List<int> b = a;
  EXPECT_EQ(&*a.begin(), &*b.begin());
  b.Append(2);
  a.Prepend(0);
  EXPECT_THAT(a, ElementsAre(0, 1));
  EXPECT_THAT(b, ElementsAre(1, 2));
}

TEST(CowListTest, TakesItsOwnElements) {
  cow_List<cow_String> list;
  list.Append("a");
  for (int i = 0; i < 100; ++i) {
    list.Append(*list.begin());
    list.Prepend(*list.begin());
  }
  EXPECT_EQ(list.Length(), 201);
  for (const cow_String& text : list) {
    EXPECT_EQ(text, "a");
  }
}

TEST(CowListTest, KeepsTheOrderOfManyElements) {
  cow_List<int> list;
  for (int i = 1; i <= 10'000; ++i) {
    list.Append(i);
    list.Prepend(-i);
  }
  int expected = -10'000;
  for (const int value : list) {
    EXPECT_EQ(value, expected);
    expected += expected == -1 ? 2 : 1;
  }
  EXPECT_EQ(expected, 10'001);
}

TEST(CowListTest, MoveLeavesTheEmptyList) {
  cow_List<int> a;
  a.Append(1);
  const cow_List<int> b = std::move(a);
  EXPECT_TRUE(a.IsEmpty());  // NOLINT: that is the promise
  EXPECT_THAT(b, ElementsAre(1));
}

TEST(Cow1DArrayTest, AppendsAndReads) {
  cow_1DArray<cow_String> array;
  EXPECT_TRUE(array.IsEmpty());
  array.Append("a");
  array.Append("b");
  const cow_1DArray<cow_String>& constant = array;
  EXPECT_EQ(array.Length(), 2);
  EXPECT_EQ(constant[0], "a");
  EXPECT_EQ(constant[1], "b");
  EXPECT_THAT(array, ElementsAre("a", "b"));
}

TEST(Cow1DArrayTest, WritingAnElementDetaches) {
  cow_1DArray<int> a;
  a.Append(1);
  a.Append(2);
  cow_1DArray<int> b = a;
  b[1] = 3;
  EXPECT_THAT(a, ElementsAre(1, 2));
  EXPECT_THAT(b, ElementsAre(1, 3));
}

TEST(Cow1DArrayTest, ReadingAConstantArrayKeepsSharing) {
  cow_1DArray<int> a;
  a.Append(1);
  const cow_1DArray<int> b = a;
  EXPECT_EQ(&b[0], &*a.begin());
}

TEST(Cow1DArrayTest, TakesItsOwnElements) {
  cow_1DArray<cow_String> array;
  array.Append("a");
  for (int i = 0; i < 100; ++i) {
    array.Append(std::as_const(array)[0]);
  }
  EXPECT_EQ(array[100], "a");
}

TEST(Cow1DArrayTest, IndexOutsideThrows) {
  cow_1DArray<int> array;
  const cow_1DArray<int> none;
  EXPECT_THROW_TEXT(none[0], nex_AssertException,
                    "index 0 is outside an array of 0 elements");
  array.Append(1);
  array.Append(2);
  EXPECT_THROW_TEXT(array[2], nex_AssertException,
                    "index 2 is outside an array of 2 elements");
  EXPECT_THROW_TEXT(array[-1], nex_AssertException,
                    "index -1 is outside an array of 2 elements");
  EXPECT_THROW_TEXT(std::as_const(array)[2], nex_AssertException,
                    "index 2 is outside an array of 2 elements");
}

TEST(Cow1DArrayTest, FailedWriteKeepsSharing) {
  cow_1DArray<int> a;
  a.Append(1);
  cow_1DArray<int> b = a;
  EXPECT_THROW(b[1] = 2, nex_AssertException);
  EXPECT_EQ(&*a.begin(), &*b.begin());
}

TEST(Cow1DArrayListTest, IsTheArray) {
  cow_1DArrayList<cow_String> list;
  list.Append("program");
  list.Append("-job");
  EXPECT_EQ(list.Length(), 2);
  EXPECT_THAT(list, ElementsAre("program", "-job"));
  EXPECT_THROW_TEXT(list[2], nex_AssertException,
                    "index 2 is outside an array of 2 elements");
}

TEST(CowMapTest, IsEmptyAtFirst) {
  const cow_Map<cow_String, int> map;
  EXPECT_EQ(map.Length(), 0);
  EXPECT_FALSE(map.IsMember("a"));
  EXPECT_EQ(map.Find("a"), nullptr);
  EXPECT_THAT(map, ElementsAre());
}

TEST(CowMapTest, InsertReplacesTheValueOfAnExistingKey) {
  cow_Map<cow_String, cow_String> map;
  map.Insert("job", "a");
  map.Insert("job", "b");
  EXPECT_EQ(map.Length(), 1);
  ASSERT_NE(map.Find("job"), nullptr);
  EXPECT_EQ(*map.Find("job"), "b");
}

TEST(CowMapTest, IteratesInByteOrderOfTheKeys) {
  cow_Map<cow_String, int> map;
  map.Insert("\x80", 5);
  map.Insert("b", 3);
  map.Insert("B", 1);
  map.Insert("", 0);
  map.Insert("a", 2);
  map.Insert("ba", 4);
  EXPECT_THAT(map, ElementsAre(Pair("", 0), Pair("B", 1), Pair("a", 2), Pair("b", 3),
                               Pair("ba", 4), Pair("\x80", 5)));
  EXPECT_EQ(map.begin()->first, "");
  EXPECT_EQ(map.begin()->second, 0);
}

TEST(CowMapTest, KeysWithZeroBytesDiffer) {
  cow_Map<cow_String, int> map;
  map.Insert(cow_String("a\0b", 3), 1);
  map.Insert("a", 2);
  EXPECT_EQ(map.Length(), 2);
  EXPECT_EQ(*map.Find("a"), 2);
}

TEST(CowMapTest, CopiesShareUntilOneChanges) {
  cow_Map<int, int> a;
  a.Insert(1, 1);
  cow_Map<int, int> b = a;
  EXPECT_EQ(a.Find(1), b.Find(1));
  b.Insert(1, 2);
  cow_Map<int, int> c = a;
  c.Remove(1);
  EXPECT_THAT(a, ElementsAre(Pair(1, 1)));
  EXPECT_THAT(b, ElementsAre(Pair(1, 2)));
  EXPECT_THAT(c, ElementsAre());
}

TEST(CowMapTest, RemovesAKey) {
  cow_Map<cow_String, int> map;
  map.Insert("a", 1);
  map.Insert("b", 2);
  map.Remove("a");
  EXPECT_FALSE(map.IsMember("a"));
  EXPECT_TRUE(map.IsMember("b"));
  EXPECT_EQ(map.Length(), 1);
}

TEST(CowMapTest, RemovesAKeyGivenByItsOwnPair) {
  cow_Map<cow_String, int> map;
  map.Insert("a", 1);
  map.Remove(map.begin()->first);
  EXPECT_TRUE(map.IsEmpty());
}

TEST(CowMapTest, RemovingAnAbsentKeyKeepsSharing) {
  cow_Map<int, int> a;
  a.Remove(1);
  a.Insert(1, 1);
  cow_Map<int, int> b = a;
  b.Remove(2);
  EXPECT_EQ(a.Find(1), b.Find(1));
}

TEST(CowContainersTest, ThreadsChangeCopiesOfOne) {
  constexpr int kThreads = 4;
  cow_Map<cow_String, cow_List<int>> shared;
  shared.Insert("list", {});
  StartLine start(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  std::atomic<int> wrong = 0;
  for (int id = 0; id < kThreads; ++id) {
    threads.emplace_back([&start, &wrong, own = shared] {
      start.Wait();
      for (int round = 0; round < 500; ++round) {
        cow_Map<cow_String, cow_List<int>> copy = own;
        cow_List<int> list = *copy.Find("list");
        list.Append(round);
        copy.Insert("list", list);
        wrong += copy.Find("list")->Length() != 1 || !own.Find("list")->IsEmpty();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
