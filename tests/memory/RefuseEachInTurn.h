#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "common/handle/OpenHandles.h"
#include "memory/RefusedMemory.h"
#include "nex/nex_Exception.h"

/// Makes the operation with its nth request for memory refused. Whether one was;
/// otherwise there are fewer than `nth`.
inline bool Refuse(int nth, const std::function<void()>& operation) {
  const RefusedMemory refused(nth);
  try {
    operation();
  } catch (const std::bad_alloc&) {
  } catch (const nex_Exception&) {
  }
  return refused.Happened();
}

/// Makes the operation with its first request for memory refused, then with its second,
/// until none is left to refuse. No descriptor and no block of memory stays. `check`
/// follows every call, the undisturbed ones before and after the others included.
inline void RefuseEachInTurn(
    const std::function<void()>& operation, const std::function<void()>& check = [] {}) {
  const auto both = [&] {
    operation();
    check();
  };
  both();  // whatever is made once a process is there now
  {
    SCOPED_TRACE("its own memory, too");
    both();
  }
  const int handles = OpenHandles();
  const int blocks = RefusedMemory::Blocks();
  int nth = 1;
  for (; Refuse(nth, operation); ++nth) {
    SCOPED_TRACE("request " + std::to_string(nth));
    ASSERT_EQ(OpenHandles(), handles);
    check();
    ASSERT_FALSE(testing::Test::HasFailure());
  }
  EXPECT_GT(nth, 1);
  check();
  EXPECT_EQ(RefusedMemory::Blocks(), blocks);
}
