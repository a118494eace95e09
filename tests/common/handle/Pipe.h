#pragma once

/// A pipe in descriptors of the C run time, closed at the end.
class Pipe {
 public:
  /// Throws std::runtime_error when the system has none left.
  Pipe();
  ~Pipe();
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int Reader() const { return ends_[0]; }
  int Writer() const { return ends_[1]; }
  void CloseReader();
  void CloseWriter();
  /// Makes calls on both ends fail rather than wait, on systems that can do so.
  void DoNotBlock();

 private:
  int ends_[2];
};

/// While it lives, blocking calls of this process are interrupted again and again, on
/// systems that interrupt calls.
class Interruptions {
 public:
  Interruptions();
  ~Interruptions();
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

  /// Whether the system interrupts calls.
  static bool AreKnown();
};

/// While it lives, a write to a pipe without a reader does not end the process, as it
/// does on systems that have a signal for it.
class IgnoredPipeSignal {
 public:
  IgnoredPipeSignal();
  ~IgnoredPipeSignal();
  IgnoredPipeSignal(const IgnoredPipeSignal&) = delete;
  IgnoredPipeSignal& operator=(const IgnoredPipeSignal&) = delete;
};
