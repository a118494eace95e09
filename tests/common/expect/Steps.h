#pragma once

#include <cstdint>
#include <functional>

/// The instructions of the processor that an operation takes in this thread, for tests
/// that the length of an input does not make it slow; 0 where they cannot be counted, as
/// under an emulator. It is carried out once before, so that what is made once in a
/// process does not count. It must not throw. Ten thousand take a second, or less.
std::int64_t StepsOf(const std::function<void()>& operation);

/// Whether an operation on a text of twice the length takes about twice the steps:
/// looking back or ahead from each of its bytes would take four times as many.
///
///     EXPECT_TRUE(StepsGrowAsTheLength([](int length) {
///       const std::string text(length, 'a');
///       return StepsOf([&] { Read(text); });
///     }));
template <class StepsForLength>
bool StepsGrowAsTheLength(StepsForLength steps) {
  constexpr int kLength = 60;
  return steps(2 * kLength) < 3 * steps(kLength);
}

/// Why a test is skipped where they cannot be counted.
constexpr char kNoSteps[] = "the processor's steps cannot be counted here";
