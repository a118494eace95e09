#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "common/child/ChildProcess.h"
#include "common/temp/TempDir.h"
#include "utl/utl_flock.h"

// For the tests of utl_flock.

constexpr int kShared = 1;
constexpr int kExclusive = 2;
constexpr int kTryShared = 5;
constexpr int kTryExclusive = 6;
constexpr int kUnlock = 8;
constexpr int kModes[] = {kShared, kExclusive, kTryShared, kTryExclusive, kUnlock};

constexpr int kLocked = 33;        // the system's lock violation
constexpr int kInvalidHandle = 6;  // the system's
constexpr int kInvalidArgument = 22;
constexpr int kNoFile = 9999;  // a descriptor that nobody has
constexpr int kUntouched = 4711;

// errno after a failing call, 0 for one that succeeds and leaves errno alone.
inline int ErrorOf(int descriptor, int mode) {
  errno = kUntouched;
  const int result = utl_flock(descriptor, mode);
  const int error = errno;
  EXPECT_EQ(result, error == kUntouched ? 0 : -1) << mode;
  return result == 0 ? 0 : error;
}

/// A descriptor of the run time, closed at the end.
class LockedDescriptor {
 public:
  explicit LockedDescriptor(const std::string& path, int access = _O_RDWR)
      : number_(_open(path.c_str(), access | _O_BINARY)) {
    EXPECT_GE(number_, 0);
  }
  ~LockedDescriptor() { Close(); }
  LockedDescriptor(const LockedDescriptor&) = delete;
  LockedDescriptor& operator=(const LockedDescriptor&) = delete;

  operator int() const { return number_; }
  void Close() {
    if (number_ >= 0) {
      _close(number_);
    }
    number_ = -1;
  }

 private:
  int number_;
};

/// A call in a thread of its own, which may wait.
class WaitingLock {
 public:
  WaitingLock(int descriptor, int mode)
      : thread_([this, descriptor, mode] {
          started_ = true;
          result_ = utl_flock(descriptor, mode);
          error_ = errno;
          done_ = true;
        }) {
    while (!started_) {
      std::this_thread::yield();
    }
  }
  ~WaitingLock() {
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  WaitingLock(const WaitingLock&) = delete;
  WaitingLock& operator=(const WaitingLock&) = delete;

  /// Gives it time to go wrong; whatever the time, a right one has not returned.
  bool IsWaiting() const {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    return !done_;
  }
  int Result() {
    thread_.join();
    return result_;
  }
  /// errno after the call. REQUIRES: its result has been asked for.
  int Error() const { return error_; }

 private:
  std::atomic<bool> started_ = false;
  std::atomic<bool> done_ = false;
  int result_ = -2;
  int error_ = 0;
  std::thread thread_;
};

/// Another process that has the file open and locks it as it is told, a mode a line.
class LockingProcess {
 public:
  explicit LockingProcess(const std::string& path)
      : child_(ChildProcess::Start("lockFileAsTold", {path})) {}
  void Ask(int mode) { child_.WriteLine(std::to_string(mode)); }
  int Answer() { return std::stoi(child_.ReadLine()); }
  int ErrorOf(int mode) {
    Ask(mode);
    return Answer();
  }
  void End() {
    child_.WriteLine("end");
    EXPECT_EQ(child_.Wait(), 0);
  }
  void Kill() { child_.Kill(); }

 private:
  ChildProcess child_;
};

/// A file to be locked, and two descriptors of it.
class FlockTest : public testing::Test {
 protected:
  static std::string MadeFile(const TempDir& dir) {
    WriteWholeFile(dir.File("f"), "0123456789");
    return dir.File("f");
  }

  TempDir dir_;
  std::string path_ = MadeFile(dir_);
  LockedDescriptor one_{path_};
  LockedDescriptor other_{path_};
};

/// A mode in which the file is held, and one in which it is then asked for.
inline std::string Names(int held, int asked) {
  return std::to_string(held) + ", " + std::to_string(asked);
}
