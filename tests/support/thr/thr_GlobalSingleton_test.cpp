#include "thr/thr_GlobalSingleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "common/thread/StartLine.h"

namespace {

std::atomic<int> made{0};
std::atomic<int> destroyed{0};

struct Counted {
  Counted() { ++made; }
  ~Counted() {
    ++destroyed;
    seenWhileDying = thr_GlobalSingleton<Counted>::Look();
  }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  static Counted* seenWhileDying;
};

Counted* Counted::seenWhileDying = nullptr;

using Singleton = thr_GlobalSingleton<Counted>;

class ThrGlobalSingletonTest : public testing::Test {
 protected:
  ~ThrGlobalSingletonTest() override { Singleton::Destroy(); }
  const int madeBefore_ = made;
  const int destroyedBefore_ = destroyed;
};

TEST_F(ThrGlobalSingletonTest, LookCreatesNothing) {
  EXPECT_EQ(Singleton::Look(), nullptr);
  EXPECT_EQ(made, madeBefore_);
}

TEST_F(ThrGlobalSingletonTest, InstanceIsMadeOnceAndStays) {
  Counted& first = Singleton::Instance();
  EXPECT_EQ(&Singleton::Instance(), &first);
  EXPECT_EQ(Singleton::Look(), &first);
  EXPECT_EQ(made, madeBefore_ + 1);
}

TEST_F(ThrGlobalSingletonTest, DestroyWithoutObjectDoesNothing) {
  Singleton::Destroy();
  EXPECT_EQ(destroyed, destroyedBefore_);
}

TEST_F(ThrGlobalSingletonTest, DestroyOfMutexWithoutObject) {
  Singleton::Mutex();
  Singleton::Destroy();
  EXPECT_EQ(destroyed, destroyedBefore_);
  const std::lock_guard guard(Singleton::Mutex());
  EXPECT_EQ(Singleton::Look(), nullptr);
}

TEST_F(ThrGlobalSingletonTest, DestroyedObjectIsSeenUntilItsDestructorEnds) {
  Counted* const object = &Singleton::Instance();
  Singleton::Destroy();
  EXPECT_EQ(Counted::seenWhileDying, object);
  EXPECT_EQ(Singleton::Look(), nullptr);
}

TEST_F(ThrGlobalSingletonTest, IsMadeAnewAfterDestroy) {
  Singleton::Instance();
  Singleton::Destroy();
  Singleton::Instance();
  EXPECT_EQ(made, madeBefore_ + 2);
  Singleton::Destroy();
  EXPECT_EQ(destroyed, destroyedBefore_ + 2);
}

// A lock that was kept would hang the second one.
TEST_F(ThrGlobalSingletonTest, DestroyGivesTheGlobalLockBack) {
  Singleton::Instance();
  Singleton::Destroy();
  const std::lock_guard guard(thr_GlobalLock::Instance());
}

TEST_F(ThrGlobalSingletonTest, RacingThreadsGetOneObject) {
  constexpr int kThreads = 16;
  std::vector<Counted*> seen(kThreads, nullptr);
  StartLine start(kThreads);
  std::vector<std::thread> threads;
  for (Counted*& object : seen) {
    threads.emplace_back([&start, &object] {
      start.Wait();
      object = &Singleton::Instance();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(seen, std::vector<Counted*>(kThreads, Singleton::Look()));
  EXPECT_EQ(made, madeBefore_ + 1);
}

bool refuses = false;

struct Throwing {
  Throwing() {
    if (refuses) {
      throw std::runtime_error("refused");
    }
  }
};

TEST_F(ThrGlobalSingletonTest, ThrowingConstructorLeavesNothingAndIsTriedAgain) {
  refuses = true;
  EXPECT_THROW(thr_GlobalSingleton<Throwing>::Instance(), std::runtime_error);
  EXPECT_EQ(thr_GlobalSingleton<Throwing>::Look(), nullptr);
  refuses = false;
  const Throwing& object = thr_GlobalSingleton<Throwing>::Instance();
  EXPECT_EQ(&object, thr_GlobalSingleton<Throwing>::Look());
  thr_GlobalSingleton<Throwing>::Destroy();
}

TEST(ThrGlobalLockTest, IsOneObject) {
  EXPECT_EQ(&thr_GlobalLock::Instance(), &thr_GlobalLock::Instance());
}

}  // namespace
