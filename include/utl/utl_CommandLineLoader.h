#pragma once

#include "cow/cow_1DArrayList.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// Fills the process's utl_CommandLine. For an executable's start-up code (and tests),
/// once, before any other thread asks for arguments: nothing is locked.
///
/// Both functions then apply the option "error", if it is given: its value is a list like
/// "utl=3,rgx", which sets the debug flag "utl" to level 3 and "rgx" to 1
/// (typ_DebugFlags); a level of 0 or below leaves its flag alone.
///
///     int main(int argc, char** argv) {
///       int count = 0;
///       utl_initialize(count);
///       utl_CommandLineLoader::SetArgs(argc, argv);
class KSTUTL_EXPORT utl_CommandLineLoader {
 public:
  utl_CommandLineLoader() = delete;

  /// Takes the arguments of `main`. argv[0], the program's name, is never an option. What
  /// an earlier call stored stays: arguments are appended, options are added.
  /// REQUIRES: argc >= 1, argv[0] to argv[argc - 1] are terminated texts.
  static void SetArgs(int argc, char** argv);

  /// Takes a list in place of all arguments of earlier calls; their options stay. Unlike
  /// SetArgs it looks at the first element too, so a program's name that begins with "-"
  /// would be an option.
  static void SetArgsList(cow_1DArrayList<cow_String> args);
};
