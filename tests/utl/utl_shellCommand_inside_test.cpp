#include "utl/utl_shellCommand.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/temp/TempDir.h"
#include "nex/nex_TextException.h"
#include "utl/impl/utl_findShellCommand.h"

namespace {

TEST(ShellCommandTest, WindowsPlatformsHaveFixedNamesThatNobodyLooksFor) {
  const FailingCall asked(SystemCall::kAccess, ERROR_ACCESS_DENIED);
  EXPECT_EQ(remoteShellCommand(), "rsh");
  EXPECT_EQ(secureShellCommand(), "ssh");
  for (const char* platform : {"nt", "win86_64"}) {
    EXPECT_EQ(utl_remoteShellCommandOn(platform), "rsh");
    EXPECT_EQ(utl_secureShellCommandOn(platform), "ssh");
  }
  EXPECT_FALSE(asked.Happened());
}

TEST(ShellCommandTest, OtherPlatformsSearchAndEndInTheException) {
  EXPECT_THROW_AT(utl_remoteShellCommandOn("linux"), nex_TextException,
                  "Cannot find remote shell command", "utl/impl/utl_remoteShellCommand",
                  44);
  EXPECT_THROW_AT(utl_secureShellCommandOn("linux"), nex_TextException,
                  "Cannot find secure shell command", "utl/impl/utl_secureShellCommand",
                  42);
}

// How often the search asks whether a file exists.
template <class Search>
int Questions(Search search) {
  for (int nth = 1;; ++nth) {
    const FailingCall asked(SystemCall::kAccess, ERROR_ACCESS_DENIED, nth);
    EXPECT_THROW(search(), nex_TextException);
    if (!asked.Happened()) {
      return nth - 1;
    }
  }
}

TEST(ShellCommandTest, EveryCommandIsSoughtInEveryDirectory) {
  EXPECT_EQ(Questions([] { utl_remoteShellCommandOn("linux"); }), 2 * 4);
  EXPECT_EQ(Questions([] { utl_secureShellCommandOn("linux"); }), 1);
}

TEST(ShellCommandTest, SearchTakesCommandsThenDirectoriesInOrder) {
  TempDir dir;
  std::filesystem::create_directories(dir.File("one"));
  std::filesystem::create_directories(dir.File("two"));
  WriteWholeFile(dir.File("two/first.exe"), "");
  WriteWholeFile(dir.File("one/second.exe"), "");
  WriteWholeFile(dir.File("one/plain"), "");
  const std::string one = dir.ShownPath() + "\\one", two = dir.ShownPath() + "\\two";

  const auto search = [&](std::initializer_list<const char*> commands) {
    return std::string(std::string_view(utl_findShellCommand(
        "linux", {"", commands, {one.c_str(), two.c_str()}, "none", "source", 1})));
  };
  EXPECT_EQ(search({"first.exe", "second.exe"}), two + "/first.exe");
  EXPECT_EQ(search({"second.exe", "first.exe"}), one + "/second.exe");
  EXPECT_THROW_AT(search({"plain"}), nex_TextException, "none", "source", 1);
}

}  // namespace
