#include "thr/thr_ThreadPool.h"

#include <system_error>
#include <utility>

#include "support/thr/thr_keepLibraryLoaded.h"

template class thr_GlobalSingleton<thr_ThreadPool>;

thr_Task::~thr_Task() = default;

thr_ThreadPool::~thr_ThreadPool() {
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    stop_ = true;
    tasks_.clear();
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

// The threads run the library's code: from here on it stays loaded, whatever a client
// does.
void thr_ThreadPool::AddThreads(int atLeast, int wanted) {
  thr_keepLibraryLoaded();
  const std::lock_guard<std::mutex> guard(mutex_);
  for (int i = 0; i < wanted; ++i) {
    try {
      threads_.emplace_back(&thr_ThreadPool::Work, this);
    } catch (const std::system_error&) {
      if (i < atLeast) {
        throw;
      }
      return;
    }
  }
}

void thr_ThreadPool::RunTask(std::unique_ptr<thr_Task> task) {
  {
    const std::lock_guard<std::mutex> guard(mutex_);
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
}

void thr_ThreadPool::Work() {
  while (const std::unique_ptr<thr_Task> task = NextTask()) {
    task->Run();
  }
}

// Waits for a task; null tells the thread to end.
std::unique_ptr<thr_Task> thr_ThreadPool::NextTask() {
  std::unique_lock<std::mutex> guard(mutex_);
  wake_.wait(guard, [this] { return stop_ || !tasks_.empty(); });
  if (stop_) {
    return nullptr;
  }
  std::unique_ptr<thr_Task> task = std::move(tasks_.front());
  tasks_.pop_front();
  return task;
}
