#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/utl_FilePath.h"

namespace {

// A new directory below `dir` whose name, as the library shows it, has `length`
// characters.
std::filesystem::path MakeDirectory(const TempDir& dir, std::size_t length) {
  std::filesystem::path made(dir.Path());
  for (std::size_t left = length - dir.ShownPath().size(); left > 0;) {
    // No name is left over that would have no character beside its separator.
    const std::size_t part = left > 102 ? 100 : left;
    made /= std::string(part - 1, 'd');
    left -= part;
  }
  std::filesystem::create_directories(made);
  return made;
}

// Windows has no longer current directories.
TEST(FilePathTest, CurrentDirectoryOfMoreThan259CharactersIsNotKnown) {
  const TempDir dir;
  {
    const CurrentDirectory current(MakeDirectory(dir, 259).string());
    utl_FilePath path("f", "D:\\x");
    path.SetFilePath("Z:g", "");
    EXPECT_EQ(path.AbsoluteDirectoryPath().Length(), 260) << "with its separator";
  }
  const CurrentDirectory current(MakeDirectory(dir, 260).string());
  utl_FilePath path("f", "D:\\x");
  path.SetFilePath("Z:g", "");
  EXPECT_EQ(path.AbsolutePathName(), "D:\\x\\g");
}

}  // namespace
