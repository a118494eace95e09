#include "thr/thr_ThreadPool.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/thread/FunctionTask.h"

namespace {

TEST(ThrThreadPoolTest, RunsATaskOnAnotherThread) {
  thr_ThreadPool pool;
  pool.AddThreads(1, 1);
  std::promise<std::thread::id> ran;
  pool.RunTask(FunctionTask::Of([&] { ran.set_value(std::this_thread::get_id()); }));
  EXPECT_NE(ran.get_future().get(), std::this_thread::get_id());
}

TEST(ThrThreadPoolTest, OneThreadRunsTasksInOrder) {
  std::vector<int> order;
  std::promise<void> done;
  thr_ThreadPool pool;
  pool.AddThreads(1, 1);
  for (int i = 0; i < 100; ++i) {
    pool.RunTask(FunctionTask::Of([&order, i] { order.push_back(i); }));
  }
  pool.RunTask(FunctionTask::Of([&] { done.set_value(); }));
  done.get_future().wait();
  ASSERT_EQ(order.size(), 100U);
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
  }
}

TEST(ThrThreadPoolTest, TwoThreadsRunTwoTasksAtOnce) {
  std::promise<void> first;
  std::promise<void> second;
  const std::shared_future<void> firstRuns = first.get_future().share();
  const std::shared_future<void> secondRuns = second.get_future().share();
  thr_ThreadPool pool;
  pool.AddThreads(1, 2);
  // Each task waits for the other; one thread alone would never end.
  pool.RunTask(FunctionTask::Of([&first, secondRuns] {
    first.set_value();
    secondRuns.wait();
  }));
  pool.RunTask(FunctionTask::Of([&second, firstRuns] {
    second.set_value();
    firstRuns.wait();
  }));
  // The pool's end would drop a task that has not begun, and the other one would wait for
  // it without end.
  firstRuns.wait();
  secondRuns.wait();
}

TEST(ThrThreadPoolTest, TaskWithoutThreadsWaitsForOne) {
  std::promise<void> ran;
  thr_ThreadPool pool;
  pool.RunTask(FunctionTask::Of([&] { ran.set_value(); }));
  pool.AddThreads(1, 1);
  ran.get_future().wait();
}

TEST(ThrThreadPoolTest, TaskIsDestroyedWhenItHasRun) {
  auto token = std::make_shared<int>(0);
  std::promise<void> next;
  thr_ThreadPool pool;
  pool.AddThreads(1, 1);
  pool.RunTask(FunctionTask::Of([token] { ++*token; }));
  pool.RunTask(FunctionTask::Of([&] { next.set_value(); }));
  next.get_future().wait();
  EXPECT_EQ(*token, 1);
  EXPECT_EQ(token.use_count(), 1);
}

TEST(ThrThreadPoolTest, EndDropsWhatHasNotBegunAndWaitsForWhatRuns) {
  bool dropped = true;
  bool finished = false;
  std::promise<void> begun;
  std::promise<void> mayEnd;
  auto pool = std::make_unique<thr_ThreadPool>();
  pool->AddThreads(1, 1);
  pool->RunTask(FunctionTask::Of([&] {
    begun.set_value();
    mayEnd.get_future().wait();
    finished = true;
  }));
  auto token = std::make_shared<int>(0);
  pool->RunTask(FunctionTask::Of([&dropped, token] { dropped = false; }));
  begun.get_future().wait();
  std::thread end([&] { pool.reset(); });
  // The waiting task goes first; only then may the running one end.
  while (token.use_count() > 1) {
    std::this_thread::yield();
  }
  mayEnd.set_value();
  end.join();
  EXPECT_TRUE(finished);
  EXPECT_TRUE(dropped);
}

TEST(ThrThreadPoolTest, NoThreadsWantedAddsNone) {
  bool ran = false;
  {
    thr_ThreadPool pool;
    pool.AddThreads(0, 0);
    pool.AddThreads(0, -1);
    pool.RunTask(FunctionTask::Of([&ran] { ran = true; }));
  }
  EXPECT_FALSE(ran);
}

TEST_CHILD(endWhileATaskRuns) {
  static auto* const pool = new thr_ThreadPool;
  static auto* const never = new std::promise<void>;
  static auto* const begun = new std::promise<void>;
  pool->AddThreads(2, 2);
  pool->RunTask(FunctionTask::Of([] {
    begun->set_value();
    never->get_future().wait();
  }));
  begun->get_future().wait();
  return 0;
}

// The threads of a pool that nobody ends must not hold the process up.
TEST(ThrThreadPoolTest, ProcessEndsWhileATaskRuns) {
  EXPECT_EQ(ChildProcess::Start("endWhileATaskRuns").Wait(), 0);
}

}  // namespace
