#include "thr/thr_GlobalSingleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

struct Counted {
  Counted() { ++made; }
  ~Counted() {
    ++destroyed;
    seenWhileDying = thr_GlobalSingleton<Counted>::Look();
  }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  static std::atomic<int> made;
  static std::atomic<int> destroyed;
  static Counted* seenWhileDying;
};

std::atomic<int> Counted::made{0};
std::atomic<int> Counted::destroyed{0};
Counted* Counted::seenWhileDying = nullptr;

using Singleton = thr_GlobalSingleton<Counted>;

TEST(thr_GlobalSingleton, LookCreatesNothing) {
  EXPECT_EQ(Singleton::Look(), nullptr);
  EXPECT_EQ(Counted::made, 0);
}

TEST(thr_GlobalSingleton, InstanceIsMadeOnceAndStays) {
  Counted& first = Singleton::Instance();
  EXPECT_EQ(&Singleton::Instance(), &first);
  EXPECT_EQ(Singleton::Look(), &first);
  EXPECT_EQ(Counted::made, 1);
  Singleton::Destroy();
}

TEST(thr_GlobalSingleton, DestroyWithoutObjectDoesNothing) {
  Singleton::Destroy();
  EXPECT_EQ(Counted::destroyed, 0);
}

TEST(thr_GlobalSingleton, DestroyOfMutexWithoutObject) {
  Singleton::Mutex();
  Singleton::Destroy();
  EXPECT_EQ(Counted::destroyed, 0);
  const std::lock_guard guard(Singleton::Mutex());
  EXPECT_EQ(Singleton::Look(), nullptr);
}

TEST(thr_GlobalSingleton, DestroyedObjectIsSeenUntilItsDestructorEnds) {
  Counted* const object = &Singleton::Instance();
  Singleton::Destroy();
  EXPECT_EQ(Counted::seenWhileDying, object);
  EXPECT_EQ(Singleton::Look(), nullptr);
}

TEST(thr_GlobalSingleton, IsMadeAnewAfterDestroy) {
  Singleton::Instance();
  Singleton::Destroy();
  Singleton::Instance();
  EXPECT_EQ(Counted::made, 2);
  Singleton::Destroy();
  EXPECT_EQ(Counted::destroyed, 2);
}

TEST(thr_GlobalSingleton, DestroyGivesTheGlobalLockBack) {
  Singleton::Instance();
  Singleton::Destroy();
  const std::lock_guard guard(thr_GlobalLock::Instance());
}

TEST(thr_GlobalSingleton, RacingThreadsGetOneObject) {
  constexpr int kThreads = 16;
  std::vector<Counted*> seen(kThreads, nullptr);
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      while (!go) {
        std::this_thread::yield();
      }
      seen[static_cast<std::size_t>(i)] = &Singleton::Instance();
    });
  }
  go = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (Counted* const object : seen) {
    EXPECT_EQ(object, Singleton::Look());
  }
  EXPECT_EQ(Counted::made, 1);
  Singleton::Destroy();
}

struct Throwing {
  Throwing() {
    if (++tries == 1) {
      throw std::runtime_error("first try");
    }
  }
  static int tries;
};

int Throwing::tries = 0;

TEST(thr_GlobalSingleton, ThrowingConstructorLeavesNothingAndIsTriedAgain) {
  EXPECT_THROW(thr_GlobalSingleton<Throwing>::Instance(), std::runtime_error);
  EXPECT_EQ(thr_GlobalSingleton<Throwing>::Look(), nullptr);
  Throwing& made = thr_GlobalSingleton<Throwing>::Instance();
  EXPECT_EQ(&made, thr_GlobalSingleton<Throwing>::Look());
  thr_GlobalSingleton<Throwing>::Destroy();
}

TEST(thr_GlobalLock, IsOneObject) {
  EXPECT_EQ(&thr_GlobalLock::Instance(), &thr_GlobalLock::Instance());
}

}  // namespace
