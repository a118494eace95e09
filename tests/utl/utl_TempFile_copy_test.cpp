// Temporary files in a copy of the process that goes on without a program of its own.

#include <gtest/gtest.h>

#include <memory>

#include "common/child/ProcessCopy.h"
#include "utl/TempFileFixture.h"

namespace {

class TempFileCopyTest : public ProcessCopyTest<TempFileFixture> {
 protected:
  ScopedEnvironment scratch_{"SCRATCH", dir_.Path().c_str()};
};

TEST_F(TempFileCopyTest, FileOfTheParentStays) {
  for (const bool closed : {true, false}) {
    auto file = std::make_unique<utl_TempFile>("");
    file->Create();
    if (closed) {
      file->Close();
    }
    ExpectInCopy([&] {
      const bool isThere = FileExists(PathOf(*file));
      file.reset();
      return isThere;
    });
    const std::string path = PathOf(*file);
    EXPECT_TRUE(FileExists(path)) << closed;
    file.reset();
    EXPECT_FALSE(FileExists(path)) << closed;
  }
}

TEST_F(TempFileCopyTest, FileOfTheCopyGoesWithItsObject) {
  ExpectInCopy([&] {
    auto file = std::make_unique<utl_TempFile>("copys");
    file->Create();
    const std::string path = PathOf(*file);
    const bool wasThere = FileExists(path);
    file.reset();
    return wasThere && !FileExists(path);
  });
  EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
}

// Whoever makes the name has the file.
TEST_F(TempFileCopyTest, ObjectThatGetsItsNameInTheCopyIsTheCopys) {
  auto file = std::make_unique<utl_TempFile>("");
  ExpectInCopy([&] {
    file->Create();
    const std::string path = PathOf(*file);
    file.reset();
    return !FileExists(path);
  });
  file->Create();
  const std::string path = PathOf(*file);
  file.reset();
  EXPECT_FALSE(FileExists(path));
}

}  // namespace
