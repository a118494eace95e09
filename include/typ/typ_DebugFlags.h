// typ_DebugFlags: named levels that switch on debug printing.

#pragma once

#include <string>

#include "KSTutl_export.h"

/// The process's debug flags: a level for every name, 0 at start.
///
///     typ_DebugFlags::SetDebugFlags("utl", 3);
///     if (typ_DebugFlags::Level(3) >= 3) { ... }   // flag 3 is "utl"
///
/// Threads: any.
class KSTUTL_EXPORT typ_DebugFlags {
 public:
  typ_DebugFlags() = delete;

  /// Sets the level of the flag `name`; any name is a flag. An empty name is ignored.
  /// REQUIRES: `name` is not null, here and below.
  static void SetDebugFlags(const char* name, int level);
  static void SetDebugFlags(const std::string& name, int level) {
    SetDebugFlags(name.c_str(), level);
  }

  /// The level of the flag `name`; 0 if it was never set.
  static int Level(const char* name);
  static int Level(const std::string& name) { return Level(name.c_str()); }

  /// The level of a flag that has a number. Number 3 is the flag "utl"; it is the only
  /// one that this product's libraries ask for, so every other number has level 0.
  static int Level(int number);

  /// Sets every flag back to level 0.
  static void Clear();
};
