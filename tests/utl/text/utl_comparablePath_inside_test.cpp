#include "utl/impl/text/utl_comparablePath.h"

#include <gtest/gtest.h>

#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"

namespace {

TEST(ComparablePathTest, AbsolutePaths) {
  const struct {
    const char *path, *form;
  } cases[] = {
      {"Z:\\Jobs\\A.dat", "z:\\jobs\\a.dat\\"},
      {"z:/jobs//a.dat/", "z:\\jobs\\a.dat\\"},
      {"Z:\\jobs\\.\\old\\..\\a.dat", "z:\\jobs\\a.dat\\"},
      {"Z:\\..\\..\\a", "z:\\a\\"},
      {"Z:\\a\\..", "z:\\"},
      {"Z:\\", "z:\\"},
      {"Z:\\...\\a.", "z:\\...\\a.\\"},
      {"\\\\Host\\Share\\A", "\\\\\\host\\share\\a\\"},  // so no path any more
      {"//host/share", "\\\\\\host\\share\\"},
      {"Z:\\\xC4", "z:\\\xC4\\"},
  };
  for (const auto& [path, form] : cases) {
    EXPECT_EQ(utl_comparablePath(path), form) << path;
  }
}

TEST(ComparablePathTest, RelativePathsAreTakenFromTheCurrentDirectory) {
  TempDir dir;
  CurrentDirectory current(dir.Path());
  const std::string here = utl_comparablePath(dir.ShownPath());
  EXPECT_EQ(utl_comparablePath("A"), here + "a\\");
  EXPECT_EQ(utl_comparablePath(""), here);
  EXPECT_EQ(utl_comparablePath("."), here);
  EXPECT_EQ(utl_comparablePath("a\\..\\b"), here + "b\\");
  EXPECT_EQ(utl_comparablePath("Z:a"), here + "a\\");
  EXPECT_EQ(utl_comparablePath("\\a"), "z:\\a\\");
  EXPECT_EQ(utl_comparablePath("Z:/a"), "z:\\a\\");
}

TEST(ComparablePathTest, NoneOnADriveThatIsNotThere) {
  EXPECT_EQ(utl_comparablePath("Q:a"), "");
  EXPECT_EQ(utl_comparablePath("Q:\\a"), "q:\\a\\");
}

}  // namespace
