#pragma once

#include <cstddef>
#include <cstdint>

/// Random numbers that are the same on every target: splitmix64, without the standard
/// library's distributions, which are each library's own.
///
/// Draw one number a statement: the order in which the arguments of a call or the sides
/// of an operator are evaluated is the compiler's own, too.
class Random {
 public:
  /// The numbers of `index` in the stream `stream` of `seed`: of one operation.
  Random(std::uint64_t seed, std::uint64_t stream, std::uint64_t index)
      : state_(Mixed(Mixed(Mixed(seed) + stream) + index)) {}

  std::uint64_t Next() { return Mixed(state_ += kStep); }

  /// From 0 to `limit` - 1. REQUIRES: `limit` is above 0.
  int Below(int limit) {
    return static_cast<int>(Next() % static_cast<std::uint64_t>(limit));
  }
  /// From `low` to `high`.
  int Between(int low, int high) { return low + Below(high - low + 1); }
  bool OneIn(int n) { return Below(n) == 0; }

  /// One of the array's elements.
  template <class Value, std::size_t count>
  const Value& Pick(const Value (&values)[count]) {
    return values[Below(static_cast<int>(count))];
  }

 private:
  static constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15;

  static constexpr std::uint64_t Mixed(std::uint64_t value) {
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
    value = (value ^ value >> 27) * 0x94D049BB133111EB;
    return value ^ value >> 31;
  }

  std::uint64_t state_;
};
