// thr_ThreadPool: the process's threads for work in the background.

#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "KSTutl_export.h"
#include "thr/thr_GlobalSingleton.h"

/// A piece of work for the pool.
class KSTUTL_EXPORT thr_Task {
 public:
  thr_Task() = default;
  virtual ~thr_Task();
  thr_Task(const thr_Task&) = delete;
  thr_Task& operator=(const thr_Task&) = delete;

  /// Does the work, on a thread of the pool.
  /// REQUIRES: it throws nothing; an exception would end the process.
  virtual void Run() = 0;
};

/// Threads that run tasks in the order in which they are handed in. The process's pool
/// is `thr_GlobalSingleton<thr_ThreadPool>::Instance()`; `thr_finalize` ends it.
///
///     auto& pool = thr_GlobalSingleton<thr_ThreadPool>::Instance();
///     pool.AddThreads(1, 1);
///     pool.RunTask(std::make_unique<MyTask>());
///
/// From the first thread on the library stays loaded until the process ends.
///
/// A process that ends without `thr_finalize` leaves the pool as it is: its threads end
/// with the process, wherever they are, and nothing waits for them.
///
/// A child of `fork` has none of the pool's threads. `thr_finalize` forgets the pool in
/// it without waiting; from then on the child may have a pool of its own. REQUIRES in
/// such a child: `AddThreads` and `RunTask` are not called before that.
///
/// Threads: any.
class KSTUTL_EXPORT thr_ThreadPool {
 public:
  thr_ThreadPool() = default;

  /// Drops tasks that have not begun and waits for those that run, which must therefore
  /// have been told to end.
  /// REQUIRES: it is not called on a thread of the pool.
  ~thr_ThreadPool();

  thr_ThreadPool(const thr_ThreadPool&) = delete;
  thr_ThreadPool& operator=(const thr_ThreadPool&) = delete;

  /// Adds `wanted` threads. When the system refuses one of them, `atLeast` are enough;
  /// throws `std::system_error` when there are fewer (those made stay).
  void AddThreads(int atLeast, int wanted);

  /// Takes over a task and runs it as soon as a thread is free. Without threads it waits
  /// for `AddThreads`. The task is destroyed on the pool's thread when it has run.
  /// REQUIRES: `task` is not null.
  void RunTask(std::unique_ptr<thr_Task> task);

  // The rest is implementation.

 private:
  void Work();
  std::unique_ptr<thr_Task> NextTask();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::unique_ptr<thr_Task>> tasks_;
  std::vector<std::thread> threads_;
  bool stop_ = false;
};

extern template class KSTUTL_EXPORT thr_GlobalSingleton<thr_ThreadPool>;
