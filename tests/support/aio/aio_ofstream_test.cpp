#include "aio/aio_ofstream.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "common/temp/TempDir.h"

namespace {

void Write(aio_ofstream& stream, const std::string& text) {
  stream.write(text.data(), static_cast<int>(text.size()));
}

class AioOfstreamTest : public testing::Test {
 protected:
  const TempDir directory_;
  const std::string path_ = directory_.File("out.txt");
};

TEST_F(AioOfstreamTest, BytesGetIntoTheFileAsGiven) {
  const std::string bytes("line\nline\r\n\0\x1a\xff", 14);
  aio_ofstream stream(path_.c_str());
  EXPECT_TRUE(stream.is_open());
  Write(stream, bytes);
  stream.close();
  EXPECT_TRUE(stream.good());
  EXPECT_FALSE(stream.is_open());
  EXPECT_EQ(ReadWholeFile(path_), bytes);
}

TEST_F(AioOfstreamTest, OpeningEmptiesTheFile) {
  WriteWholeFile(path_, "something old");
  { const aio_ofstream stream(path_.c_str()); }
  EXPECT_EQ(ReadWholeFile(path_), "");
}

TEST_F(AioOfstreamTest, PermissionsAreThoseOfAnyNewFile) {
  { const aio_ofstream stream(path_.c_str()); }
  WriteWholeFile(directory_.File("other"), "");
  EXPECT_EQ(std::filesystem::status(path_).permissions(),
            std::filesystem::status(directory_.File("other")).permissions());
}

TEST_F(AioOfstreamTest, FlushHandsOnWhatIsHeld) {
  aio_ofstream stream(path_.c_str());
  Write(stream, "abc");
  EXPECT_EQ(ReadWholeFile(path_), "");
  stream.flush();
  EXPECT_EQ(ReadWholeFile(path_), "abc");
}

TEST_F(AioOfstreamTest, AFileThatCannotBeClosedShows) {
  const int next = dup(STDERR_FILENO);  // the number that the stream's file gets
  close(next);
  aio_ofstream stream(path_.c_str());
  ASSERT_TRUE(stream.good());
  ASSERT_EQ(close(next), 0);
  stream.close();
  EXPECT_FALSE(stream.good());
  EXPECT_FALSE(stream.is_open());
}

TEST_F(AioOfstreamTest, DestructorWritesWhatIsHeld) {
  {
    aio_ofstream stream(path_.c_str());
    Write(stream, "abc");
  }
  EXPECT_EQ(ReadWholeFile(path_), "abc");
}

TEST_F(AioOfstreamTest, LongTextInManyPieces) {
  std::string expected;
  aio_ofstream stream(path_.c_str());
  for (int i = 0; i < 30000; ++i) {
    const std::string piece = std::to_string(i);
    Write(stream, piece);
    expected += piece;
  }
  stream.close();
  EXPECT_EQ(ReadWholeFile(path_), expected);
}

TEST_F(AioOfstreamTest, LengthOfZeroOrLessWritesNothing) {
  aio_ofstream stream(path_.c_str());
  stream.write("abc", 0);
  stream.write("abc", -1);
  stream.close();
  EXPECT_TRUE(stream.good());
  EXPECT_EQ(ReadWholeFile(path_), "");
}

TEST_F(AioOfstreamTest, FileThatCannotBeMadeIsNotOpenAndNotGood) {
  aio_ofstream stream(directory_.File("missing/out.txt").c_str());
  EXPECT_FALSE(stream.is_open());
  EXPECT_FALSE(stream.good());
  Write(stream, "abc");
  stream.flush();
  stream.close();
  EXPECT_FALSE(stream.good());
}

TEST_F(AioOfstreamTest, ClosedStreamFailsAndWritesNothing) {
  aio_ofstream stream(path_.c_str());
  Write(stream, "abc");
  stream.close();
  stream.close();
  EXPECT_TRUE(stream.good());
  Write(stream, "def");
  EXPECT_FALSE(stream.good());
  EXPECT_EQ(ReadWholeFile(path_), "abc");
}

// The device that is always full; both targets reach it under this name.
TEST_F(AioOfstreamTest, FullDiskShowsInGood) {
  aio_ofstream stream("/dev/full");
  ASSERT_TRUE(stream.is_open());
  Write(stream, "abc");
  EXPECT_TRUE(stream.good());
  stream.flush();
  EXPECT_FALSE(stream.good());
  Write(stream, "def");
  stream.close();
  EXPECT_FALSE(stream.good());
}

}  // namespace
