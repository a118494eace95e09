// The helper under the tests of several processes, itself tested on both targets.

#include "common/child/ChildProcess.h"

#include <gtest/gtest.h>

#include "common/temp/TempDir.h"

TEST_CHILD(echoArguments) {
  for (int i = 0; i < argc; ++i) {
    ChildWriteLine(argv[i]);
  }
  return 7;
}

TEST_CHILD(echoLines) {
  for (std::string line; !(line = ChildReadLine()).empty();) {
    ChildWriteLine(line + "!");
  }
  return 0;
}

TEST(ChildProcessTest, ArgumentsArriveUnchanged) {
  const std::vector<std::string> args = {"plain",  "two words",  "",         "C:\\dir\\",
                                         "a\\\"b", "\"quoted\"", "tail \\\\"};
  ChildProcess child = ChildProcess::Start("echoArguments", args);
  EXPECT_EQ(child.ReadLine(), "echoArguments");
  for (const std::string& arg : args) {
    EXPECT_EQ(child.ReadLine(), arg);
  }
  EXPECT_EQ(child.ReadLine(), "");
  EXPECT_EQ(child.Wait(), 7);
  EXPECT_EQ(child.Wait(), 7);
  EXPECT_FALSE(child.IsRunning());
}

TEST(ChildProcessTest, LinesGoBothWays) {
  ChildProcess child = ChildProcess::Start("echoLines");
  EXPECT_TRUE(child.WriteLine("one"));
  EXPECT_EQ(child.ReadLine(), "one!");
  EXPECT_TRUE(child.WriteLine("two"));
  EXPECT_EQ(child.ReadLine(), "two!");
  EXPECT_TRUE(child.IsRunning());
  child.CloseInput();
  EXPECT_EQ(child.ReadLine(), "");
  EXPECT_EQ(child.Wait(), 0);
}

TEST(ChildProcessTest, KillEndsAtOnce) {
  ChildProcess child = ChildProcess::Start("echoLines");
  child.WriteLine("up");
  ASSERT_EQ(child.ReadLine(), "up!");
  child.Kill();
  EXPECT_FALSE(child.IsRunning());
  EXPECT_EQ(child.Wait(), 137);
}

TEST(ChildProcessTest, UnknownEntryPoint) {
  EXPECT_EQ(ChildProcess::Start("noSuchEntry").Wait(), 125);
}

TEST(TempDirTest, RemovesItsContent) {
  std::string path;
  {
    TempDir dir;
    path = dir.Path();
    WriteWholeFile(dir.File("a"), std::string("x\0\r\n", 4));
    EXPECT_EQ(ReadWholeFile(dir.File("a")), std::string("x\0\r\n", 4));
    EXPECT_EQ(dir.ShownPath().substr(0, 7), "Z:\\tmp\\");
  }
  EXPECT_FALSE(FileExists(path));
}
