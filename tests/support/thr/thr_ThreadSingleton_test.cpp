#include "thr/thr_ThreadSingleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include "thr/thr_ThreadExit.h"

namespace {

std::atomic<int> made{0};
std::atomic<int> destroyed{0};

struct Counted {
  Counted() { ++made; }
  ~Counted() { ++destroyed; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  int value = 0;
};

using Singleton = thr_ThreadSingleton<Counted>;

class ThrThreadSingletonTest : public testing::Test {
 protected:
  ~ThrThreadSingletonTest() override { Singleton::Destroy(); }
  const int madeBefore_ = made;
  const int destroyedBefore_ = destroyed;
};

TEST_F(ThrThreadSingletonTest, LookCreatesNothing) {
  EXPECT_EQ(Singleton::Look(), nullptr);
  EXPECT_EQ(made, madeBefore_);
}

TEST_F(ThrThreadSingletonTest, InstanceIsMadeOnceAndStays) {
  Counted& first = Singleton::Instance();
  EXPECT_EQ(&Singleton::Instance(), &first);
  EXPECT_EQ(Singleton::Look(), &first);
  EXPECT_EQ(made, madeBefore_ + 1);
}

TEST_F(ThrThreadSingletonTest, EveryThreadHasItsOwn) {
  Counted& mine = Singleton::Instance();
  std::thread([&] {
    EXPECT_EQ(Singleton::Look(), nullptr);
    EXPECT_NE(&Singleton::Instance(), &mine);
  }).join();
  EXPECT_EQ(Singleton::Look(), &mine);
}

TEST_F(ThrThreadSingletonTest, ThreadExitDestroysTheThreadsObjectOnly) {
  Singleton::Instance();
  std::thread([] { Singleton::Instance(); }).join();
  EXPECT_EQ(destroyed, destroyedBefore_ + 1);
  EXPECT_NE(Singleton::Look(), nullptr);
}

TEST_F(ThrThreadSingletonTest, DestroyEndsTheCallingThreadsObject) {
  Singleton::Instance();
  Singleton::Destroy();
  EXPECT_EQ(destroyed, destroyedBefore_ + 1);
  EXPECT_EQ(Singleton::Look(), nullptr);
  Singleton::Destroy();
  EXPECT_EQ(destroyed, destroyedBefore_ + 1);
}

TEST_F(ThrThreadSingletonTest, ObjectDestroyedAndMadeAnewIsDestroyedAtExitOnce) {
  std::thread([] {
    Singleton::Instance();
    Singleton::Destroy();
    Singleton::Instance();
  }).join();
  EXPECT_EQ(made, madeBefore_ + 2);
  EXPECT_EQ(destroyed, destroyedBefore_ + 2);
}

// More rounds than the system has slots: the last object must give the slot back.
TEST_F(ThrThreadSingletonTest, LastObjectFreesTheSlot) {
  for (int i = 0; i < 5000; ++i) {
    Singleton::Instance();
    Singleton::Destroy();
  }
  EXPECT_EQ(made, madeBefore_ + 5000);
  EXPECT_EQ(destroyed, destroyedBefore_ + 5000);
}

TEST_F(ThrThreadSingletonTest, ThreadsThatComeAndGo) {
  constexpr int kRounds = 25;
  constexpr int kThreads = 8;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([i] {
        for (int use = 0; use < 10; ++use) {
          ++Singleton::Instance().value;
          std::this_thread::yield();
        }
        EXPECT_EQ(Singleton::Look()->value, 10);
        if (i % 2 == 0) {
          Singleton::Destroy();
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
  EXPECT_EQ(made, madeBefore_ + kRounds * kThreads);
  EXPECT_EQ(destroyed, destroyedBefore_ + kRounds * kThreads);
}

struct Throwing {
  Throwing() { throw std::runtime_error("no object"); }
};

TEST_F(ThrThreadSingletonTest, ThrowingConstructorLeavesNothing) {
  EXPECT_THROW(thr_ThreadSingleton<Throwing>::Instance(), std::runtime_error);
  EXPECT_EQ(thr_ThreadSingleton<Throwing>::Look(), nullptr);
}

void NoCleanup() {}

TEST(ThrThreadSlotTest, OutOfSlotsIsBadAllocAndLeavesNothing) {
  std::thread([] {
    std::deque<thr_ThreadSlot> slots;
    bool exhausted = false;
    while (!exhausted && slots.size() < 100000) {
      thr_ThreadSlot& slot = slots.emplace_back();
      try {
        slot.Set(&slots, &NoCleanup);
      } catch (const std::bad_alloc&) {
        exhausted = true;
        EXPECT_EQ(slot.Get(), nullptr);
        EXPECT_EQ(slot.Take(), nullptr);
      }
    }
    EXPECT_TRUE(exhausted);
    for (thr_ThreadSlot& slot : slots) {
      slot.Take();
    }
    slots.back().Set(&slots, &NoCleanup);
    EXPECT_EQ(slots.back().Take(), &slots);
  }).join();
}

// Clean-ups have no argument; they tell their order here.
std::vector<int> order;

void First() {
  order.push_back(1);
}
void Third() {
  order.push_back(3);
}
void Second() {
  order.push_back(2);
  thr_ThreadExit::Register(&Third);
}

TEST(ThrThreadExitTest, LastRegisteredRunsFirstAndOnce) {
  order.clear();
  std::thread([] {
    thr_ThreadExit::Register(&First);
    thr_ThreadExit::Register(&Third);
    thr_ThreadExit::Register(&First);
    EXPECT_TRUE(order.empty());
  }).join();
  EXPECT_EQ(order, (std::vector<int>{3, 1}));
}

TEST(ThrThreadExitTest, CleanupRegisteredByACleanupRunsToo) {
  order.clear();
  std::thread([] {
    thr_ThreadExit::Register(&First);
    thr_ThreadExit::Register(&Second);
  }).join();
  EXPECT_EQ(order, (std::vector<int>{2, 3, 1}));
}

struct OfTheMainThread {
  int value = 1;
};

// What is left when the process ends must not disturb the end.
TEST_F(ThrThreadSingletonTest, ObjectOfTheMainThreadMayStay) {
  EXPECT_EQ(thr_ThreadSingleton<OfTheMainThread>::Instance().value, 1);
}

}  // namespace
