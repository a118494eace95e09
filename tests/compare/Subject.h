#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "compare/Log.h"
#include "compare/Random.h"

/// An object that a subject makes and destroys. Unlike that of std::unique_ptr its
/// Release lets an exception of the object's destructor through.
template <class Object>
class Slot {
 public:
  Slot() = default;
  Slot(const Slot&) = delete;
  Slot& operator=(const Slot&) = delete;
  ~Slot() noexcept(false) { Release(); }

  template <class... Arguments>
  void Make(Arguments&&... arguments) {
    Release();
    object_ = new Object(std::forward<Arguments>(arguments)...);
  }
  void Release() { delete std::exchange(object_, nullptr); }

  explicit operator bool() const { return object_ != nullptr; }
  Object* operator->() const { return object_; }
  Object& operator*() const { return *object_; }

 private:
  Object* object_ = nullptr;
};

/// Releases all of them, then throws the first exception that one of them has thrown.
template <class Object, std::size_t count>
void ReleaseAll(Slot<Object> (&slots)[count]) {
  std::exception_ptr first;
  for (Slot<Object>& slot : slots) {
    try {
      slot.Release();
    } catch (...) {
      first = first ? first : std::current_exception();
    }
  }
  if (first) {
    std::rethrow_exception(first);
  }
}

/// A family of operations with the objects that they share, for one sequence.
class Subject {
 public:
  Subject() = default;
  Subject(const Subject&) = delete;
  Subject& operator=(const Subject&) = delete;
  virtual ~Subject() noexcept(false) = default;

  /// Carries out one operation, whose inputs depend on `random` alone.
  virtual void Run(Random& random, Log& log) = 0;

  /// Lets go of all files, whatever is thrown.
  virtual void Close() {}
};

/// What the subjects of a sequence have in common.
struct World {
  std::string directory;  ///< For the system; also the current directory at first.
  std::string shown;      ///< The same as the library shows it: Z:\...
  std::vector<std::unique_ptr<Subject>> subjects;
};

/// Makes a subject; a sequence's settings are drawn from `random`.
using MakeSubject = std::unique_ptr<Subject>(World& world, Random& random);

MakeSubject MakeEntries, MakeFiles, MakeStatus, MakeListings, MakeLocks, MakeTempFiles,
    MakeSections, MakeBinStreams, MakePathNames, MakePaths, MakeEnvironment, MakeUrls,
    MakePatterns, MakeNumbers, MakeEncoders, MakeTrees, MakeCommandLine, MakeVersion,
    MakeHost, MakeMonitor, MakeTracker, MakeSupport;
