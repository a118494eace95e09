#pragma once

/// While it lives, one request for memory by `operator new` finds none, in the library
/// too: the `nth` of this thread, 1 being the next.
///
///     RefusedMemory second(2);
///     EXPECT_THROW(file.Open(...), std::bad_alloc);
class RefusedMemory {
 public:
  explicit RefusedMemory(int nth);
  ~RefusedMemory();
  RefusedMemory(const RefusedMemory&) = delete;
  RefusedMemory& operator=(const RefusedMemory&) = delete;

  bool Happened() const;

  /// How many blocks of `operator new` are in use, by all threads.
  static int Blocks();
};
