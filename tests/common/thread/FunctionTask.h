#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "thr/thr_ThreadPool.h"

/// A pool's task that calls a function.
class FunctionTask : public thr_Task {
 public:
  explicit FunctionTask(std::function<void()> work) : work_(std::move(work)) {}
  void Run() override { work_(); }

  static std::unique_ptr<thr_Task> Of(std::function<void()> work) {
    return std::make_unique<FunctionTask>(std::move(work));
  }

 private:
  std::function<void()> work_;
};
