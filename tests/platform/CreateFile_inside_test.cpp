// Opening by name: what is created, what is refused, and with which code.

#include <gmock/gmock.h>
#include <io.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "common/child/ChildProcess.h"
#include "common/shell/Shell.h"
#include "platform/PlatformTest.h"

class CreateFileTest : public PlatformTest {};

namespace {

constexpr DWORD kBackup = FILE_FLAG_BACKUP_SEMANTICS;

struct NameCase {
  const char* name;  // in the test's directory
  DWORD flags;
  DWORD code;
};

}  // namespace

TEST_F(CreateFileTest, NamesAndTheirCodes) {
  const NameCase cases[] = {
      {"a", 0, 0},
      {"missing", 0, ERROR_FILE_NOT_FOUND},
      {"missing\\f", 0, ERROR_PATH_NOT_FOUND},
      {"a\\f", 0, ERROR_PATH_NOT_FOUND},
      {"d\\x", 0, 0},
      {"d/x", 0, 0},
      {"d\\\\x", 0, 0},
      {"d\\.\\x", 0, 0},
      {"missing\\..\\a", 0, 0},  // ".." goes by the text
      {"d\\..", kBackup, 0},
      {"d", 0, ERROR_ACCESS_DENIED},
      {"d", kBackup, 0},
      {"d\\", kBackup, 0},
      {"d\\", 0, ERROR_ACCESS_DENIED},
      {"a*<\\..\\a", 0, 0},  // what it takes out need not be a name
      {"d\\a?\\.\\..\\x", 0, 0},
      {"d\\..\\a|", 0, ERROR_INVALID_NAME},
      {"a\\", 0, ERROR_INVALID_NAME},
      {"a\\", kBackup, ERROR_INVALID_NAME},
      {"missing\\", 0, ERROR_FILE_NOT_FOUND},
      {"missing\\", kBackup, ERROR_FILE_NOT_FOUND},
      {"missing\\m\\", 0, ERROR_PATH_NOT_FOUND},
      {"a*", 0, ERROR_INVALID_NAME},
      {"a?", 0, ERROR_INVALID_NAME},
      {"a<", 0, ERROR_INVALID_NAME},
      {"a>", 0, ERROR_INVALID_NAME},
      {"a\"", 0, ERROR_INVALID_NAME},
      {"a|", 0, ERROR_INVALID_NAME},
      {"a\t", 0, ERROR_INVALID_NAME},
      {"missing\\a*", 0, ERROR_INVALID_NAME},
      {"a*\\f", 0, ERROR_INVALID_NAME},
      {"A", 0, 0},  // letter case does not matter
      {"D\\X", 0, 0},
      {"a.", 0, 0},  // dots and blanks at the end fall away
      {"a..", 0, 0},
      {"a ", 0, 0},
      {"a. .", 0, 0},
      {"d.\\x", 0, 0},
      {"d \\x", 0, ERROR_PATH_NOT_FOUND},
      {"d..\\x", 0, ERROR_PATH_NOT_FOUND},
      {" a", 0, ERROR_FILE_NOT_FOUND},
  };
  for (const NameCase& one : cases) {
    EXPECT_EQ(OpenCode(dir_.Path() + "\\" + one.name, GENERIC_READ, kShareAll,
                       OPEN_EXISTING, one.flags),
              one.code)
        << one.name << " flags " << one.flags;
  }
}

TEST_F(CreateFileTest, WholeNamesAndTheirCodes) {
  const NameCase cases[] = {
      {"", 0, ERROR_PATH_NOT_FOUND},
      {" ", 0, ERROR_PATH_NOT_FOUND},
      {"Z:\\", kBackup, 0},
      {"Z:\\", 0, ERROR_ACCESS_DENIED},
      {"Z:", kBackup, 0},
      {"z:/tmp", kBackup, 0},
      {"Z:\\..\\tmp", kBackup, 0},
      {"\\tmp", kBackup, 0},
      {"/tmp", kBackup, 0},
      {".", kBackup, 0},
      {"Q:\\f", 0, ERROR_FILE_NOT_FOUND},  // as Wine has it; Windows says 3
      {"Q:f", 0, ERROR_FILE_NOT_FOUND},
      {"Q:\\d\\f", 0, ERROR_PATH_NOT_FOUND},
      {"Q:\\", kBackup, ERROR_PATH_NOT_FOUND},
      {"Q:\\f\\", 0, ERROR_FILE_NOT_FOUND},
      {"Q:\\f<", 0, ERROR_INVALID_NAME},
      {"Q:\\f<\\..\\f", 0, ERROR_FILE_NOT_FOUND},
      {"\\\\nohost\\share\\f", 0, ERROR_PATH_NOT_FOUND},
  };
  for (const NameCase& one : cases) {
    EXPECT_EQ(OpenCode(one.name, GENERIC_READ, kShareAll, OPEN_EXISTING, one.flags),
              one.code)
        << one.name;
  }
  EXPECT_EQ(CodeOf([] {
              return CreateFileA(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0,
                                 nullptr) != INVALID_HANDLE_VALUE;
            }),
            DWORD{ERROR_PATH_NOT_FOUND});
}

// Which drives there are is the machine's own. The root of what Linux has is Z:.
TEST_F(CreateFileTest, DrivesThatAreNotThere) {
  std::string there;
  for (char letter = 'A'; letter <= 'Z'; ++letter) {
    const std::string drive = std::string(1, letter) + ":";
    if (_access((drive + "\\").c_str(), 0) == 0) {
      there += letter;
      continue;
    }
    EXPECT_EQ(OpenCode(drive + "\\", GENERIC_READ, kShareAll, OPEN_EXISTING, kBackup),
              DWORD{ERROR_PATH_NOT_FOUND})
        << drive;
    EXPECT_EQ(OpenCode(drive + "\\f"), DWORD{ERROR_FILE_NOT_FOUND}) << drive;
    EXPECT_EQ(OpenCode(drive + "f"), DWORD{ERROR_FILE_NOT_FOUND}) << drive;
    EXPECT_EQ(OpenCode(drive + "\\f", GENERIC_WRITE, 0, CREATE_ALWAYS),
              DWORD{ERROR_FILE_NOT_FOUND})
        << drive;
    EXPECT_EQ(OpenCode(drive + "\\d\\f"), DWORD{ERROR_PATH_NOT_FOUND}) << drive;
  }
  EXPECT_TRUE(there.ends_with('Z')) << there;
  EXPECT_FALSE(there.find('Q') < there.size()) << "tests take it for one that is missing";
}

namespace {

struct DispositionCase {
  DWORD disposition;
  DWORD codeIfThere;  // of the last error, which an open always sets
  bool opensIfThere;
  const char* contentIfThere;
  DWORD codeIfMissing;
};

}  // namespace

TEST_F(CreateFileTest, Dispositions) {
  const DispositionCase cases[] = {
      {CREATE_NEW, ERROR_FILE_EXISTS, false, "0123456789", 0},
      {CREATE_ALWAYS, ERROR_ALREADY_EXISTS, true, "", 0},
      {OPEN_EXISTING, 0, true, "0123456789", ERROR_FILE_NOT_FOUND},
      {OPEN_ALWAYS, ERROR_ALREADY_EXISTS, true, "0123456789", 0},
      {TRUNCATE_EXISTING, 0, true, "", ERROR_FILE_NOT_FOUND},
  };
  for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}}) {
    for (const DispositionCase& one : cases) {
      SCOPED_TRACE(one.disposition);
      WriteWholeFile(Name("a"), "0123456789");
      SetLastError(kUntouched);
      ScopedHandle there(Open(Name("a"), access, kShareAll, one.disposition));
      EXPECT_EQ(GetLastError(), one.codeIfThere);
      EXPECT_EQ(there.IsValid(), one.opensIfThere);
      there.Close();
      EXPECT_EQ(ReadWholeFile(Name("a")), one.contentIfThere);

      SetLastError(kUntouched);
      ScopedHandle missing(Open(Name("m"), access, kShareAll, one.disposition));
      EXPECT_EQ(GetLastError(), one.codeIfMissing);
      EXPECT_EQ(missing.IsValid(), one.codeIfMissing == 0);
      missing.Close();
      EXPECT_EQ(FileExists(Name("m")), one.codeIfMissing == 0);
      DeleteFileA(Name("m").c_str());
    }
  }
}

TEST_F(CreateFileTest, UnknownDisposition) {
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, kShareAll, 0),
            DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, kShareAll, 6),
            DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(CreateFileTest, LinksThatLeadNowhere) {
  ShellLinks links(dir_.Path());
  if (!links.Make("target", "l") || !links.Make("o", "o")) {
    GTEST_SKIP() << "links cannot be made here";
  }
  const struct {
    DWORD disposition;
    DWORD code;  // of the last error, which an open always sets
    bool makesTarget;
    DWORD codeOfLoop;
  } cases[] = {
      {CREATE_NEW, ERROR_FILE_EXISTS, false, ERROR_FILE_EXISTS},
      {CREATE_ALWAYS, ERROR_ALREADY_EXISTS, true, ERROR_CANT_RESOLVE_FILENAME},
      {OPEN_EXISTING, ERROR_FILE_NOT_FOUND, false, ERROR_CANT_RESOLVE_FILENAME},
      {OPEN_ALWAYS, ERROR_ALREADY_EXISTS, true, ERROR_CANT_RESOLVE_FILENAME},
      {TRUNCATE_EXISTING, ERROR_FILE_NOT_FOUND, false, ERROR_CANT_RESOLVE_FILENAME},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.disposition);
    SetLastError(kUntouched);
    ScopedHandle link(Open(Name("l"), GENERIC_WRITE, kShareAll, one.disposition));
    EXPECT_EQ(GetLastError(), one.code);
    EXPECT_EQ(link.IsValid(), one.makesTarget);
    EXPECT_EQ(FileExists(Name("target")), one.makesTarget);
    link.Close();
    DeleteFileA(Name("target").c_str());
    EXPECT_EQ(OpenCode(Name("o"), GENERIC_WRITE, kShareAll, one.disposition),
              one.codeOfLoop);
  }
}

TEST_F(CreateFileTest, DirectoriesAreNotCreatedOver) {
  EXPECT_EQ(OpenCode(Name("d"), GENERIC_WRITE, kShareAll, CREATE_NEW),
            DWORD{ERROR_FILE_EXISTS});
  for (const DWORD disposition : {CREATE_ALWAYS, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
    EXPECT_EQ(OpenCode(Name("d"), GENERIC_WRITE, kShareAll, disposition),
              DWORD{ERROR_ACCESS_DENIED})
        << disposition;
  }
}

TEST_F(CreateFileTest, CreationOfBadNames) {
  EXPECT_EQ(OpenCode(Name("m") + "\\", GENERIC_WRITE, kShareAll, CREATE_ALWAYS),
            DWORD{ERROR_INVALID_NAME});
  EXPECT_EQ(OpenCode(Name("m") + "\\f", GENERIC_WRITE, kShareAll, CREATE_ALWAYS),
            DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(OpenCode("Q:\\m\\", GENERIC_WRITE, kShareAll, CREATE_ALWAYS),
            DWORD{ERROR_INVALID_NAME});
  EXPECT_EQ(OpenCode("Q:\\m", GENERIC_WRITE, kShareAll, CREATE_ALWAYS),
            DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(OpenCode(Name("A"), GENERIC_WRITE, kShareAll, CREATE_NEW),
            DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(OpenCode(Name(std::string(300, 'x')), GENERIC_WRITE, kShareAll, CREATE_NEW),
            DWORD{ERROR_FILENAME_EXCED_RANGE});
}

TEST_F(CreateFileTest, DeleteOnClose) {
  ScopedHandle handle(Open(Name("m"), GENERIC_WRITE, 0, CREATE_NEW,
                           FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE));
  EXPECT_TRUE(FileExists(Name("m")));
  EXPECT_EQ(OpenCode(Name("m")), DWORD{ERROR_SHARING_VIOLATION});
  handle.Close();
  EXPECT_FALSE(FileExists(Name("m")));
}

TEST_F(CreateFileTest, ReadOnlyAttribute) {
  ScopedHandle handle(
      Open(Name("m"), GENERIC_WRITE, kShareAll, CREATE_NEW, FILE_ATTRIBUTE_READONLY));
  EXPECT_TRUE(WriteText(handle, "written all the same"));
  handle.Close();
  EXPECT_EQ(CodeOf([&] { return DeleteFileA(Name("m").c_str()); }),
            DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(FileExists(Name("m")));
}

TEST_CHILD(createInCurrentDirectory) {
  std::filesystem::current_path(argv[1]);
  ChildWriteLine("there");
  ChildReadLine();
  ChildWriteLine(std::to_string(OpenCode("kst_m", GENERIC_WRITE, 0, CREATE_ALWAYS)));
  return 0;
}

TEST_F(CreateFileTest, InACurrentDirectoryThatWasRemoved) {
  std::filesystem::create_directory(Name("gone"));
  ChildProcess child = ChildProcess::Start("createInCurrentDirectory", {Name("gone")});
  ASSERT_EQ(child.ReadLine(), "there");
  if (!RunShell("rmdir " + ShellName(Name("gone")))) {
    GTEST_SKIP() << "current directories are not removed here";
  }
  child.WriteLine("go on");
  EXPECT_EQ(child.ReadLine(), std::to_string(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(child.Wait(), 0);
}

TEST_F(CreateFileTest, FilesThatNobodyMayWrite) {
  // The kernel's own: not even root may. Where they are mounted read-only, the code
  // is the one of that.
  const auto isRefusal =
      testing::AnyOf(DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_WRITE_PROTECT});
  EXPECT_THAT(OpenCode("Z:\\sys\\kernel\\uevent_seqnum", GENERIC_WRITE), isRefusal);
  EXPECT_THAT(OpenCode("Z:\\sys\\kernel\\m", GENERIC_WRITE, kShareAll, CREATE_NEW),
              isRefusal);
}

TEST_F(CreateFileTest, DeletedNames) {
  const auto deletion = [this](const std::string& name) {
    return CodeOf([&] { return DeleteFileA((dir_.Path() + "\\" + name).c_str()); });
  };
  EXPECT_EQ(deletion("missing"), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(deletion("missing\\f"), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(deletion("missing\\"), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(deletion("d"), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(deletion("d\\"), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(deletion("a\\"), DWORD{ERROR_INVALID_NAME});
  EXPECT_EQ(deletion("a*"), DWORD{ERROR_INVALID_NAME});
  EXPECT_EQ(CodeOf([] { return DeleteFileA(""); }), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_TRUE(DeleteFileA(Name("A").c_str()));
  EXPECT_FALSE(FileExists(Name("a")));
}

TEST_F(CreateFileTest, ManyOpensLeakNothing) {
  ScopedHandle first(Open(Name("a")));
  const HANDLE number = first;
  first.Close();
  for (int i = 0; i < 2000; ++i) {
    OpenCode(Name("a"), GENERIC_WRITE, kShareAll, OPEN_ALWAYS);
    OpenCode(Name("d"));
    OpenCode(Name("missing"));
  }
  const ScopedHandle last(Open(Name("a")));
  EXPECT_EQ(static_cast<HANDLE>(last), number);
}
