#pragma once

#include <gtest/gtest.h>

#include <functional>

/// Whether a process can be copied, as by `fork`, and the copy go on without starting
/// another program. Windows can only start programs, and the thread sanitizer cannot
/// follow the threads of a copy.
bool ProcessesCanBeCopied();

/// Whether that goes well while other threads start or take memory. Not with the address
/// sanitizer: what such a thread has locked of its memory stays locked in the copy.
bool BusyProcessesCanBeCopied();

/// Copies this process with the calling thread alone and runs `work` in the copy, which
/// then calls `exit` with the result. Waits for it; the exit code. A copy that has not
/// ended after a minute is killed: 128 and the signal's number.
/// REQUIRES: processes can be copied.
int RunInProcessCopy(const std::function<int()>& work);

/// A test of what holds in a copy; skipped where there are none.
template <class Base = testing::Test>
class ProcessCopyTest : public Base {
 protected:
  void SetUp() override {
    if (!ProcessesCanBeCopied()) {
      GTEST_SKIP() << "no process goes on without a program of its own here";
    }
    Base::SetUp();
  }

  /// Expects `work` to return true in a copy. What fails in it by EXPECT_... is only
  /// printed.
  static void ExpectInCopy(const std::function<bool()>& work) {
    EXPECT_EQ(RunInProcessCopy([&] { return work() ? 0 : 1; }), 0);
  }
};

/// A test of what holds in a copy of a process whose other threads start or take memory.
template <class Base = testing::Test>
class BusyProcessCopyTest : public ProcessCopyTest<Base> {
 protected:
  void SetUp() override {
    ProcessCopyTest<Base>::SetUp();
    if (!this->IsSkipped() && !BusyProcessesCanBeCopied()) {
      GTEST_SKIP() << "the address sanitizer's memory stays locked in such a copy";
    }
  }
};
