// Threads and their values where the system has no room for them.

#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <new>
#include <system_error>
#include <thread>

#include "common/child/ChildProcess.h"
#include "common/failing/posix/FailingSystemCall.h"
#include "thr/thr_ThreadExit.h"
#include "thr/thr_ThreadPool.h"
#include "thr/thr_ThreadSingleton.h"

namespace {

struct Value {
  int number = 0;
};

bool HasNoMemory(const auto& call) {
  try {
    call();
    return false;
  } catch (const std::bad_alloc&) {
    return true;
  }
}

// The size of the stack that threads get.
class ScopedStackSize {
 public:
  explicit ScopedStackSize(std::size_t size) {
    pthread_getattr_default_np(&before_);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, size);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
  }
  ~ScopedStackSize() {
    pthread_setattr_default_np(&before_);
    pthread_attr_destroy(&before_);
  }
  ScopedStackSize(const ScopedStackSize&) = delete;
  ScopedStackSize& operator=(const ScopedStackSize&) = delete;

 private:
  pthread_attr_t before_ = {};
};

}  // namespace

// A process of its own, as all threads share the slot.
TEST_CHILD(registersWithoutASlot) {
  const auto add = [] { thr_ThreadExit::Register([] {}); };
  bool failed = false;
  {
    const FailingSystemCall slot(PosixCall::kMakeSlot, EAGAIN);
    failed = HasNoMemory(add) && slot.Happened();
  }
  return failed && !HasNoMemory(add) ? 0 : 1;
}

TEST(ThrFailuresTest, ASlotThatCannotBeMadeIsTriedAgain) {
  EXPECT_EQ(ChildProcess::Start("registersWithoutASlot").Wait(), 0);
}

// The first value that is set is the thread's list of clean-ups, the second the object.
TEST(ThrFailuresTest, AValueThatCannotBeSetIsTriedAgain) {
  for (const int nth : {1, 2}) {
    bool failed = false;
    int number = 0;
    std::thread thread([&] {
      {
        const FailingSystemCall value(PosixCall::kSetSlot, ENOMEM, nth);
        failed = HasNoMemory([] { thr_ThreadSingleton<Value>::Instance(); });
      }
      thr_ThreadSingleton<Value>::Instance().number = 1;
      number = thr_ThreadSingleton<Value>::Instance().number;
    });
    thread.join();
    EXPECT_TRUE(failed) << nth;
    EXPECT_EQ(number, 1);
  }
}

TEST(ThrFailuresTest, ThreadsThatCannotBeStarted) {
  thr_ThreadPool pool;
  const ScopedStackSize beyondTheAddressSpace(std::size_t{1} << 50);
  EXPECT_THROW(pool.AddThreads(1, 2), std::system_error);
  EXPECT_NO_THROW(pool.AddThreads(0, 2));
}
