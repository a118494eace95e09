#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/TempDir.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_TempFile.h"

constexpr char kCantMakeName[] = "*** ERROR: Can't create unique temporary file name.";

/// Nothing names a directory for temporary files, unless a test does.
class TempFileFixture : public testing::Test {
 protected:
  TempFileFixture() { thr_GlobalSingleton<utl_CommandLine>::Destroy(); }
  ~TempFileFixture() override {
    thr_GlobalSingleton<utl_CommandLine>::Destroy();
    std::filesystem::current_path(earlier_);
  }

  static void LoadOptions(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "prog");
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    utl_CommandLineLoader::SetArgs(static_cast<int>(argv.size()), argv.data());
  }

  static std::string NameOf(const utl_TempFile& file) {
    return std::string(std::string_view(file.Name()));
  }
  /// The directory part of the name, without its separator.
  static std::string DirectoryOf(const utl_TempFile& file) {
    const std::string name = NameOf(file);
    return name.substr(0, name.find_last_of('\\'));
  }

  /// The file's path for the C++ library, which knows no drive on POSIX.
  std::string PathOf(const utl_TempFile& file) const {
    const std::string name = NameOf(file);
    return dir_.File(name.substr(name.find_last_of('\\') + 1));
  }

  /// An entry of the test's directory with its drive, as users name it.
  std::string Shown(const std::string& name) const {
    return dir_.ShownPath() + "\\" + name;
  }

  const std::filesystem::path earlier_ = std::filesystem::current_path();
  TempDir dir_;
  ScopedEnvironment noScratch_{"SCRATCH", nullptr};
  ScopedEnvironment noTmpdir_{"TMPDIR", nullptr};
};
