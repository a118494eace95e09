// FIFOs and devices given as paths: nothing waits for them.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "utl/TempFileFixture.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_DirPathUtils.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_Stat.h"

namespace {

class FifosAndDevicesTest : public TempFileFixture {
 protected:
  FifosAndDevicesTest() {
    EXPECT_EQ(mkfifo(dir_.File("fifo").c_str(), 0644), 0);
    std::filesystem::create_directory(dir_.File("t"));
  }
};

TEST_F(FifosAndDevicesTest, HaveAStatus) {
  for (const std::string& name : {Shown("fifo"), std::string("Z:\\dev\\null")}) {
    const utl_Stat status(name.c_str());
    EXPECT_EQ(status.record, &status.size) << name;
    EXPECT_EQ(status.size, 0) << name;
    EXPECT_FALSE(status.isDirectory) << name;
    EXPECT_FALSE(utl_DirPathUtils::CheckDirectory(name.c_str())) << name;
  }
}

TEST_F(FifosAndDevicesTest, AnswerForTheirPaths) {
  const utl_FilePath fifo(Shown("fifo").c_str(), "");
  EXPECT_TRUE(fifo.Exists());
  EXPECT_TRUE(fifo.IsReadable());
  EXPECT_TRUE(fifo.IsWriteable());
  EXPECT_FALSE(fifo.IsDir());
}

TEST_F(FifosAndDevicesTest, AreFilesOfAListingAndHaveNone) {
  std::filesystem::create_symlink("missing", dir_.File("toNothing"));
  const utl_DirObject listing(utl_FilePath(dir_.ShownPath().c_str(), ""));
  EXPECT_EQ(listing.FileCount(), 2);  // the FIFO and the link
  EXPECT_EQ(listing.PrefixMatchFilenames("fifo").Length(), 1);
  EXPECT_EQ(listing.PrefixMatchFilenames("toNothing").Length(), 1);
  EXPECT_EQ(utl_DirObject(utl_FilePath(Shown("fifo").c_str(), "")).FileCount(), 0);
}

TEST_F(FifosAndDevicesTest, ArePassedOverAsTemporaryDirectories) {
  const ScopedEnvironment scratch("SCRATCH", Shown("fifo").c_str());
  const ScopedEnvironment tmpdir("TMPDIR", Shown("t").c_str());
  EXPECT_EQ(DirectoryOf(utl_TempFile("")), Shown("t"));
}

}  // namespace
