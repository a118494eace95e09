#include "utl/utl_DirPathUtils.h"

#include <gtest/gtest.h>

#include "common/TempDir.h"

namespace {

TEST(utl_DirPathUtils, TrimsAndAddsOneBackslash) {
  const struct {
    const char *path, *trimmed, *added;
  } cases[] = {
      {R"(C:\dir\)", R"(C:\dir)", R"(C:\dir\)"},
      {R"(C:\dir)", R"(C:\dir)", R"(C:\dir\)"},
      {R"(C:\)", "C:", R"(C:\)"},
      {R"(a\\)", R"(a\)", R"(a\\)"},
      {"dir/", "dir/", R"(dir/\)"},
      {"", "", "\\"},
      {"\\", "", "\\"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(utl_DirPathUtils::TrimSeparator(c.path), c.trimmed) << c.path;
    EXPECT_EQ(utl_DirPathUtils::AddSeparator(c.path), c.added) << c.path;
  }
}

}  // namespace
