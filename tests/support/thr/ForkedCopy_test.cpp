// What a copy of the process that goes on without a program of its own has of the
// process-wide objects, the thread pool and the files of its parent.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "aio/aio_ofstream.h"
#include "common/child/ProcessCopy.h"
#include "common/temp/TempDir.h"
#include "common/thread/FunctionTask.h"
#include "thr/thr_currentProcess.h"
#include "thr/thr_GlobalLock.h"
#include "thr/thr_GlobalSingleton.h"
#include "thr/thr_initialize.h"
#include "thr/thr_ThreadPool.h"

namespace {

using Pool = thr_GlobalSingleton<thr_ThreadPool>;

using ForkedCopyTest = ProcessCopyTest<>;
using BusyForkedCopyTest = BusyProcessCopyTest<>;

// Holds a mutex in another thread for as long as it lives.
class HeldByAnother {
 public:
  explicit HeldByAnother(thr_Mutex& mutex)
      : holder_([this, &mutex] {
          const std::lock_guard guard(mutex);
          held_.set_value();
          mayEnd_.get_future().wait();
        }) {
    held_.get_future().wait();
  }
  ~HeldByAnother() {
    mayEnd_.set_value();
    holder_.join();
  }
  HeldByAnother(const HeldByAnother&) = delete;
  HeldByAnother& operator=(const HeldByAnother&) = delete;

 private:
  std::promise<void> held_;
  std::promise<void> mayEnd_;
  std::thread holder_;  // last: it uses the others
};

TEST_F(ForkedCopyTest, HasANumberOfItsOwn) {
  const std::uint32_t own = thr_currentProcess();
  ExpectInCopy([&] {
    const std::uint32_t copys = thr_currentProcess();
    const int nested = RunInProcessCopy([&] {
      const std::uint32_t number = thr_currentProcess();
      return number != own && number != copys ? 0 : 1;
    });
    return copys != own && nested == 0;
  });
  EXPECT_EQ(thr_currentProcess(), own);
}

struct Counted {
  Counted() = default;
  ~Counted() { ++destroyed; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  static int destroyed;
};

int Counted::destroyed = 0;

using Singleton = thr_GlobalSingleton<Counted>;

TEST_F(ForkedCopyTest, ForgetsTheParentsObjectAndMayHaveAnother) {
  Counted::destroyed = 0;
  const Counted* const parents = &Singleton::Instance();
  ExpectInCopy([&] {
    const bool seen = Singleton::Look() == parents;
    Singleton::Destroy();
    const bool forgotten = Singleton::Look() == nullptr && Counted::destroyed == 0;
    const bool another = &Singleton::Instance() != parents;
    Singleton::Destroy();
    return seen && forgotten && another && Counted::destroyed == 1;
  });
  EXPECT_EQ(Singleton::Look(), parents);
  Singleton::Destroy();
  EXPECT_EQ(Counted::destroyed, 1);
}

TEST_F(ForkedCopyTest, ForgettingDoesNotWaitForTheObjectsMutex) {
  Singleton::Instance();
  {
    const HeldByAnother held(Singleton::Mutex());
    ExpectInCopy([] {
      Singleton::Destroy();
      return Singleton::Mutex().try_lock();
    });
  }
  Singleton::Destroy();
}

TEST_F(ForkedCopyTest, DestroysItsOwnObject) {
  ExpectInCopy([] {
    Counted::destroyed = 0;
    Singleton::Instance();
    Singleton::Destroy();
    return Counted::destroyed == 1;
  });
}

TEST_F(ForkedCopyTest, HasAGlobalLockOfItsOwn) {
  thr_Mutex& parents = thr_GlobalLock::Instance();
  const HeldByAnother held(parents);
  ExpectInCopy([&] {
    thr_Mutex& copys = thr_GlobalLock::Instance();
    const std::lock_guard guard(copys);
    return &copys != &parents && &copys == &thr_GlobalLock::Instance();
  });
  EXPECT_EQ(&thr_GlobalLock::Instance(), &parents);
}

// Has a thread of the pool run `work`.
void RunOnPool(std::function<void()> work) {
  Pool::Instance().AddThreads(1, 1);
  Pool::Instance().RunTask(FunctionTask::Of(std::move(work)));
}

TEST_F(ForkedCopyTest, FinalizeWaitsForNoThreadOfTheParent) {
  std::promise<void> runs;
  std::promise<void> mayEnd;
  int count = 0;
  RunOnPool([&] {
    runs.set_value();
    mayEnd.get_future().wait();
  });
  runs.get_future().wait();
  ExpectInCopy([&] {
    thr_finalize(count);
    return Pool::Look() == nullptr;
  });
  mayEnd.set_value();
  thr_finalize(count);
}

TEST_F(BusyForkedCopyTest, MayHaveAPoolOfItsOwn) {
  int count = 0;
  Pool::Instance().AddThreads(2, 2);
  ExpectInCopy([&] {
    thr_finalize(count);
    std::promise<int> ran;
    RunOnPool([&] { ran.set_value(7); });
    const bool hasRun = ran.get_future().get() == 7;
    thr_finalize(count);
    return hasRun;
  });
  thr_finalize(count);
}

TEST_F(BusyForkedCopyTest, ExitWaitsForNoThreadOfTheParent) {
  std::promise<void> mayEnd;
  RunOnPool([&] { mayEnd.get_future().wait(); });
  ExpectInCopy([] { return true; });
  mayEnd.set_value();
  int count = 0;
  thr_finalize(count);
}

// The copy ends its copy of the stream in every way there is.
TEST_F(ForkedCopyTest, WritesNothingThatAStreamOfTheParentHeld) {
  const TempDir dir;
  const std::string path = dir.File("out");
  aio_ofstream out(path.c_str());
  out.write("once", 4);
  ExpectInCopy([&] {
    out.write("never", 5);
    out.flush();
    const bool failed = !out.good();
    out.close();
    out.~aio_ofstream();
    return failed;
  });
  out.write(" more", 5);
  out.close();
  EXPECT_TRUE(out.good());
  EXPECT_EQ(ReadWholeFile(path), "once more");
}

TEST_F(ForkedCopyTest, ClosingAnEmptyStreamOfTheParentFailsNowhere) {
  const TempDir dir;
  aio_ofstream out(dir.File("out").c_str());
  out.write("written", 7);
  out.flush();
  ExpectInCopy([&] {
    out.close();
    return out.good();
  });
  out.write(" on", 3);
  out.close();
  EXPECT_EQ(ReadWholeFile(dir.File("out")), "written on");
}

TEST_F(ForkedCopyTest, WritesWithStreamsOfItsOwn) {
  const TempDir dir;
  ExpectInCopy([&] {
    aio_ofstream out(dir.File("out").c_str());
    out.write("own", 3);
    out.close();
    return out.good();
  });
  EXPECT_EQ(ReadWholeFile(dir.File("out")), "own");
}

}  // namespace
