// Renaming files, above all over others.

#include <filesystem>

#include "common/shell/Shell.h"
#include "platform/PlatformTest.h"

namespace {

class MoveFileTest : public PlatformTest {
 protected:
  MoveFileTest() { WriteWholeFile(Name("b"), "the other"); }

  bool Move(const std::string& from, const std::string& to,
            DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) const {
    return MoveFileExA(Name(from).c_str(), Name(to).c_str(), flags) != FALSE;
  }

  DWORD MoveCode(const std::string& from, const std::string& to,
                 DWORD flags = MOVEFILE_REPLACE_EXISTING) const {
    return CodeOf([&] { return Move(from, to, flags); });
  }
};

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

TEST_F(MoveFileTest, ReplacesAFile) {
  EXPECT_TRUE(Move("b", "a"));
  EXPECT_EQ(ReadWholeFile(Name("a")), "the other");
  EXPECT_FALSE(FileExists(Name("b")));
}

TEST_F(MoveFileTest, GivesANewName) {
  EXPECT_TRUE(Move("b", "new", 0));
  EXPECT_TRUE(Move("new", "d\\new", MOVEFILE_WRITE_THROUGH));
  EXPECT_EQ(ReadWholeFile(Name("d/new")), "the other");
  EXPECT_FALSE(FileExists(Name("b")));
  EXPECT_FALSE(FileExists(Name("new")));
}

TEST_F(MoveFileTest, ReplacesOnlyWhenToldTo) {
  EXPECT_EQ(MoveCode("b", "a", 0), DWORD{ERROR_ALREADY_EXISTS});
  EXPECT_EQ(ReadWholeFile(Name("a")), "0123456789");
  EXPECT_EQ(ReadWholeFile(Name("b")), "the other");
}

TEST_F(MoveFileTest, ReplacesAFileThatMayNotBeWritten) {
  namespace fs = std::filesystem;
  fs::permissions(Name("a"), fs::perms::owner_read);
  EXPECT_TRUE(Move("b", "a"));
  EXPECT_EQ(ReadWholeFile(Name("a")), "the other");
}

TEST_F(MoveFileTest, OntoItselfDoesNothing) {
  EXPECT_TRUE(Move("b", "b"));
  EXPECT_EQ(ReadWholeFile(Name("b")), "the other");
}

TEST_F(MoveFileTest, NamesThatCannotBe) {
  EXPECT_EQ(MoveCode("missing", "a"), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(MoveCode("missing\\b", "a"), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(MoveCode("b", "missing\\a"), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(MoveCode("b", "missing\\a", MOVEFILE_WRITE_THROUGH),
            DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(MoveCode("b", "d"), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(MoveCode("b", "a*"), DWORD{ERROR_INVALID_NAME});
  EXPECT_EQ(ReadWholeFile(Name("b")), "the other");
}

TEST_F(MoveFileTest, FileThatIsNotSharedForDeletionKeepsItsName) {
  const ScopedHandle open(Open(Name("b"), GENERIC_READ, FILE_SHARE_READ));
  EXPECT_EQ(MoveCode("b", "a"), DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(ReadWholeFile(Name("a")), "0123456789");
}

TEST_F(MoveFileTest, OpenFileThatIsSharedForDeletionIsMoved) {
  const ScopedHandle open(
      Open(Name("b"), kReadWrite, FILE_SHARE_READ | FILE_SHARE_DELETE));
  EXPECT_TRUE(Move("b", "a"));
  SeekTo(open, 0, FILE_END);
  EXPECT_TRUE(WriteText(open, "!"));
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE), 0u);
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_WRITE), DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(ReadWholeFile(Name("a")), "the other!");
}

// A difference: under Wine nobody may have the file open that is to be replaced.
TEST_F(MoveFileTest, FileThatOthersHaveOpenIsReplacedOrKept) {
  const ScopedHandle open(Open(Name("a")));
  const bool replaced = Move("b", "a");
  const DWORD code = GetLastError();
  EXPECT_EQ(ReadText(open, 100), "0123456789");
  if (replaced) {
    EXPECT_EQ(ReadWholeFile(Name("a")), "the other");
  } else {
    EXPECT_EQ(code, DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(ReadWholeFile(Name("a")), "0123456789");
    EXPECT_EQ(ReadWholeFile(Name("b")), "the other");
  }
}

// A difference: under Wine the link goes, and the file that it led to stays as it is.
TEST_F(MoveFileTest, LinkOrTheFileThatItLeadsToIsReplaced) {
  ShellLinks links(dir_.Path());
  if (!links.Make("d/x", "link")) {
    GTEST_SKIP() << "links cannot be made here";
  }
  EXPECT_TRUE(Move("b", "link"));
  EXPECT_EQ(ReadWholeFile(Name("link")), "the other");
  const bool isLink = std::filesystem::is_symlink(Name("link"));
  EXPECT_EQ(ReadWholeFile(Name("d/x")), isLink ? "the other" : "x");
  EXPECT_FALSE(FileExists(Name("b")));
}

}  // namespace
