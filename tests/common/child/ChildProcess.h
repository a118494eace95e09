#pragma once

#include <memory>
#include <string>
#include <vector>

/// A second process of the same test program, running one registered entry
/// point, for tests of what happens between processes:
///
///     TEST_CHILD(holdLock) {            // (int argc, char** argv), as main;
///       ...argv[1]...                   // argv[0] is the entry point's name
///       ChildWriteLine("locked");
///       ChildReadLine();                // until the parent says so
///       return 0;
///     }
///
///     ChildProcess child = ChildProcess::Start("holdLock", {path});
///     ASSERT_EQ(child.ReadLine(), "locked");
///     child.WriteLine("go on");
///     EXPECT_EQ(child.Wait(), 0);
///
/// One object is used by one thread at a time; processes are started by one
/// thread at a time.
class ChildProcess {
 public:
  /// Starts entry point `name` with `args`. Throws std::runtime_error when
  /// no process could be made; an unknown name ends the child with code 125.
  static ChildProcess Start(const std::string& name,
                            const std::vector<std::string>& args = {});

  ChildProcess(ChildProcess&&) noexcept;
  ChildProcess& operator=(ChildProcess&&) noexcept;
  /// Kills the process if it still runs, and waits for its end.
  ~ChildProcess();

  /// The next line of the child's standard output, without its end; "" when
  /// the child has closed it. Waits.
  std::string ReadLine();
  /// Sends a line to the child's standard input. False when it no longer reads.
  bool WriteLine(const std::string& line);
  /// Ends the child's standard input.
  void CloseInput();

  bool IsRunning();
  /// Ends the process at once: nothing in it is cleaned up. It has ended when
  /// this returns, and `Wait` gives 137.
  void Kill();
  /// Waits for the end; the exit code. May be called again.
  int Wait();

 private:
  class System;  // one version for each target
  explicit ChildProcess(std::unique_ptr<System> system);

  std::unique_ptr<System> system_;
  std::string received_;
};

/// In the child: a line from or to the parent. `ChildReadLine` is "" at the end.
std::string ChildReadLine();
void ChildWriteLine(const std::string& line);

using ChildMain = int (*)(int argc, char** argv);

/// Used by TEST_CHILD.
bool RegisterChild(const char* name, ChildMain entry);
/// Used by main: runs the entry point named argv[0].
int RunChild(int argc, char** argv);

#define TEST_CHILD(name)                                       \
  static int ChildMain_##name(int argc, char** argv);          \
  [[maybe_unused]] static const bool child_registered_##name = \
      RegisterChild(#name, ChildMain_##name);                  \
  static int ChildMain_##name([[maybe_unused]] int argc, [[maybe_unused]] char** argv)
