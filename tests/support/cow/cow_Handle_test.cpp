#include "cow/cow_Handle.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "common/thread/StartLine.h"

// NOLINTBEGIN(performance-unnecessary-copy-initialization): copies are under test.

namespace {

struct Counted : cow_Shared {
  Counted() { ++alive; }
  Counted(const Counted& other) : cow_Shared(other), value(other.value) { ++alive; }
  ~Counted() { --alive; }

  int value = 0;
  static inline std::atomic<int> alive = 0;
};

using Handle = cow_Handle<Counted>;

TEST(CowHandleTest, IsNullAndNotUniqueAtFirst) {
  const Handle handle;
  EXPECT_EQ(handle.Get(), nullptr);
  EXPECT_FALSE(handle.IsUnique());
}

TEST(CowHandleTest, FirstWriteMakesTheObject) {
  Handle handle;
  handle.Write().value = 7;
  EXPECT_TRUE(handle.IsUnique());
  EXPECT_EQ(handle.Get()->value, 7);
}

TEST(CowHandleTest, CopiesShareUntilOneWrites) {
  Handle a;
  a.Write().value = 1;
  Handle b = a;
  EXPECT_EQ(a.Get(), b.Get());
  EXPECT_FALSE(a.IsUnique());
  EXPECT_FALSE(b.IsUnique());

  b.Write().value = 2;
  EXPECT_NE(a.Get(), b.Get());
  EXPECT_TRUE(a.IsUnique());
  EXPECT_TRUE(b.IsUnique());
  EXPECT_EQ(a.Get()->value, 1);
  EXPECT_EQ(b.Get()->value, 2);
}

TEST(CowHandleTest, OnlyHolderWritesInPlace) {
  Handle handle;
  const Counted* const object = &handle.Write();
  EXPECT_EQ(&handle.Write(), object);
  {
    const Handle other = handle;
    EXPECT_FALSE(handle.IsUnique());
  }
  EXPECT_EQ(&handle.Write(), object);
}

TEST(CowHandleTest, MoveLeavesNull) {
  Handle a;
  a.Write().value = 1;
  Handle b = std::move(a);
  EXPECT_EQ(a.Get(), nullptr);  // NOLINT: that is the promise
  EXPECT_TRUE(b.IsUnique());
}

TEST(CowHandleTest, AssignmentReleasesAndSelfAssignmentKeeps) {
  Handle a(new Counted);
  Handle b(new Counted);
  EXPECT_EQ(Counted::alive, 2);
  a = b;
  EXPECT_EQ(Counted::alive, 1);
  const Handle& same = a;
  a = same;
  EXPECT_EQ(Counted::alive, 1);
  EXPECT_EQ(a.Get(), b.Get());
}

TEST(CowHandleTest, LastHolderDeletes) {
  {
    const Handle a(new Counted);
    const Handle b = a;
    const Handle c = b;
    EXPECT_EQ(Counted::alive, 1);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(CowHandleTest, ThreadsCopyWriteAndReleaseSharedObjects) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 2000;
  {
    Handle shared;
    shared.Write().value = -1;
    StartLine start(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    std::atomic<int> wrong = 0;
    for (int id = 0; id < kThreads; ++id) {
      threads.emplace_back([&start, &wrong, id, own = shared] {
        start.Wait();
        for (int round = 0; round < kRounds; ++round) {
          Handle copy = own;
          wrong += copy.Get()->value != -1;
          copy.Write().value = id;
          const Handle again = copy;
          wrong += again.Get()->value != id;
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(shared.Get()->value, -1);
  }
  EXPECT_EQ(Counted::alive, 0);
}

// Every thread reads what all share and writes: whichever comes last is the only holder
// and writes in place, after the others' reads.
TEST(CowHandleTest, LastHolderWritesInPlaceBehindTheReadsOfOthers) {
  for (int round = 0; round < 500; ++round) {
    Handle first;
    first.Write().value = 5;
    Handle second = first;
    StartLine start(2);
    int seen = 0;
    std::thread other([&start, &seen, own = std::move(second)]() mutable {
      start.Wait();
      seen = own.Get()->value;
      own.Write().value = 6;
    });
    start.Wait();
    const int before = first.Get()->value;
    first.Write().value = 7;
    other.join();
    EXPECT_EQ(before, 5);
    EXPECT_EQ(seen, 5);
    EXPECT_EQ(first.Get()->value, 7);
  }
}

}  // namespace

// NOLINTEND(performance-unnecessary-copy-initialization)
