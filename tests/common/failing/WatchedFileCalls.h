#pragma once

#include <windows.h>

#include <ostream>

/// What a call of CreateFileA was given.
struct CreateFileArguments {
  DWORD access;
  DWORD shares;
  DWORD creation;
  DWORD flags;
  bool hasSecurity;
  bool hasTemplate;

  bool operator==(const CreateFileArguments&) const = default;
};
std::ostream& operator<<(std::ostream& out, const CreateFileArguments& arguments);

/// The arguments of this thread's last CreateFileA.
CreateFileArguments LastCreateFile();

/// Counts the searches of directories, by any thread, from the construction on. One
/// object at a time.
class WatchedSearches {
 public:
  WatchedSearches();
  /// How many were begun.
  int Begun() const;
  /// How many of them were closed.
  int Closed() const;
};

/// Counts the deletions by DeleteFileA, by any thread, as long as it lives. One object at
/// a time.
class WatchedDeletions {
 public:
  WatchedDeletions();
  ~WatchedDeletions();
  WatchedDeletions(const WatchedDeletions&) = delete;
  WatchedDeletions& operator=(const WatchedDeletions&) = delete;
  /// How many deleted files existed.
  int Count() const;
  /// How many of them somebody had open.
  int OfOpenFiles() const;
};

/// Watches SetHandleInformation from the construction on. One object at a time.
class WatchedInheritance {
 public:
  WatchedInheritance();
  int Calls() const;
  // What the last call was given.
  HANDLE Handle() const;
  DWORD Mask() const;
  DWORD Flags() const;
};
