#include "utl/utl_DirPathUtils.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "common/failing/FailingCall.h"
#include "common/temp/TempDir.h"

namespace {

TEST(DirPathUtilsTest, TrimsAndAddsOneBackslash) {
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

TEST(DirPathUtilsTest, ChecksThatADirectoryExists) {
  TempDir dir;
  const auto check = [&](const std::string& name) {
    return utl_DirPathUtils::CheckDirectory(dir.File(name).c_str());
  };
  std::filesystem::create_directory(dir.File("sub"));
  WriteWholeFile(dir.File("file"), "x");
  EXPECT_TRUE(check("sub"));
  EXPECT_FALSE(check("file"));
  EXPECT_FALSE(check("missing"));
  EXPECT_FALSE(check("missing/sub"));
  EXPECT_FALSE(utl_DirPathUtils::CheckDirectory(""));
}

TEST(DirPathUtilsTest, DirectoryThatCannotBeExaminedIsNone) {
  TempDir dir;
  const cow_String path(dir.Path().c_str());
  ASSERT_TRUE(utl_DirPathUtils::CheckDirectory(path));
  for (SystemCall call :
       {SystemCall::kCreateFile, SystemCall::kGetFileInformationByHandle}) {
    const FailingCall failing(call, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(utl_DirPathUtils::CheckDirectory(path));
    EXPECT_TRUE(failing.Happened());
  }
}

}  // namespace
