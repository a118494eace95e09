// The C run time's streams on files.

#include <io.h>
#include <share.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "common/child/ProcessCopy.h"
#include "platform/PlatformTest.h"

class TextStreamTest : public PlatformTest {
 protected:
  FILE* Create(const std::string& name) const {
    return _fsopen(Name(name).c_str(), "w", _SH_DENYNO);
  }

  // errno of an open that is to fail.
  static int ErrnoOf(const std::string& path) {
    errno = 0;
    EXPECT_EQ(_fsopen(path.c_str(), "w", _SH_DENYNO), nullptr);
    return errno;
  }
};

TEST_F(TextStreamTest, WritesTextAnew) {
  FILE* const stream = Create("a");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(ReadWholeFile(Name("a")), "");
  EXPECT_EQ(std::fwrite("x\ny\n", 1, 4, stream), 4u);
  EXPECT_EQ(std::fclose(stream), 0);
  // With the ends of lines that the C++ library writes, too.
  std::ofstream(Name("b")) << "x\ny\n";
  EXPECT_EQ(ReadWholeFile(Name("a")), ReadWholeFile(Name("b")));
}

TEST_F(TextStreamTest, AppendsToWhatIsThere) {
  for (const char* text : {"x", "y"}) {
    for (const char* name : {"a", "new"}) {
      FILE* const stream = _fsopen(Name(name).c_str(), "a", _SH_DENYNO);
      ASSERT_NE(stream, nullptr);
      std::fputs(text, stream);
      EXPECT_EQ(std::fclose(stream), 0);
    }
  }
  EXPECT_EQ(ReadWholeFile(Name("a")), "0123456789xy");
  EXPECT_EQ(ReadWholeFile(Name("new")), "xy");
}

TEST_F(TextStreamTest, FlushReachesTheFile) {
  FILE* const stream = Create("new");
  ASSERT_NE(stream, nullptr);
  std::fputs("x", stream);
  EXPECT_EQ(std::fflush(stream), 0);
  EXPECT_EQ(ReadWholeFile(Name("new")), "x");
  std::fputs("y", stream);
  EXPECT_EQ(std::fclose(stream), 0);
  EXPECT_EQ(ReadWholeFile(Name("new")), "xy");
}

TEST_F(TextStreamTest, PermissionsAreThoseOfAnyNewFile) {
  std::fclose(Create("new"));
  EXPECT_EQ(std::filesystem::status(Name("new")).permissions(),
            std::filesystem::status(Name("a")).permissions());
}

TEST_F(TextStreamTest, MoreThanABuffer) {
  const std::string text(1'000'000, 't');
  FILE* const stream = Create("new");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), stream), text.size());
  EXPECT_EQ(std::fclose(stream), 0);
  EXPECT_EQ(ReadWholeFile(Name("new")), text);
}

TEST_F(TextStreamTest, OpenErrors) {
  EXPECT_EQ(ErrnoOf(Name("missing") + "\\f"), ENOENT);
  EXPECT_EQ(ErrnoOf(""), ENOENT);
  EXPECT_EQ(ErrnoOf(Name("d")), EACCES);
  EXPECT_EQ(ErrnoOf(dir_.Path() + "\\a*"), EINVAL);
  const ScopedHandle alone(Open(Name("a"), GENERIC_READ, 0));
  EXPECT_EQ(ErrnoOf(Name("a")), EACCES);
}

TEST_F(TextStreamTest, OthersMayReadAndWriteUntilItIsClosed) {
  FILE* const stream = Create("new");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(OpenCode(Name("new"), GENERIC_READ | GENERIC_WRITE), 0u);
  EXPECT_EQ(OpenCode(Name("new"), GENERIC_READ, FILE_SHARE_READ),
            DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(std::fclose(stream), 0);
  EXPECT_EQ(OpenCode(Name("new"), GENERIC_READ, FILE_SHARE_READ), 0u);
}

TEST_F(TextStreamTest, WritesToAFullDeviceFail) {
  FILE* const stream = _fsopen("/dev/full", "w", _SH_DENYNO);
  ASSERT_NE(stream, nullptr);
  std::fputs("x", stream);
  EXPECT_NE(std::fflush(stream), 0);
  EXPECT_NE(std::ferror(stream), 0);
  std::fclose(stream);
}

using TextStreamCopyTest = ProcessCopyTest<TextStreamTest>;

// By flushing and closing it, and at its exit.
TEST_F(TextStreamCopyTest, CopyOfTheProcessWritesNothingThatWasHeldBack) {
  FILE* const stream = Create("new");
  ASSERT_NE(stream, nullptr);
  std::fputs("once", stream);
  ExpectInCopy([&] {
    std::fputs("never", stream);
    return std::fflush(stream) == 0 && std::fclose(stream) == 0;
  });
  ExpectInCopy([] { return true; });
  std::fputs(" more", stream);
  EXPECT_EQ(std::fclose(stream), 0);
  EXPECT_EQ(ReadWholeFile(Name("new")), "once more");
}
