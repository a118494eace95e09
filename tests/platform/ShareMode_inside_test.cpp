// Two opens of one file: every access and sharing of the one against every access
// and sharing of the other, in one process and in two.

#include <iostream>
#include <sstream>

#include "common/child/ChildProcess.h"
#include "platform/PlatformTest.h"

namespace {

constexpr DWORD kAccesses[] = {GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE};

struct OneOpen {
  DWORD access;
  DWORD share;
};

std::vector<OneOpen> AllOpens() {
  std::vector<OneOpen> all;
  for (const DWORD access : kAccesses) {
    for (DWORD share = 0; share <= kShareAll; ++share) {
      all.push_back({access, share});
    }
  }
  return all;
}

DWORD Needed(DWORD access) {
  return ((access & GENERIC_READ) != 0 ? FILE_SHARE_READ : 0) |
         ((access & GENERIC_WRITE) != 0 ? FILE_SHARE_WRITE : 0);
}

// Each must share what the other has.
DWORD ExpectedCode(const OneOpen& first, const OneOpen& second) {
  const bool agree = (Needed(first.access) & ~second.share) == 0 &&
                     (Needed(second.access) & ~first.share) == 0;
  return agree ? 0 : ERROR_SHARING_VIOLATION;
}

std::string Described(const OneOpen& first, const OneOpen& second) {
  std::ostringstream text;
  text << std::hex << "first " << first.access << " shares " << first.share << ", second "
       << second.access << " shares " << second.share;
  return text.str();
}

}  // namespace

class ShareModeTest : public PlatformTest {};

TEST_F(ShareModeTest, EveryPairInOneProcess) {
  for (const OneOpen& first : AllOpens()) {
    const ScopedHandle held(Open(Name("a"), first.access, first.share));
    ASSERT_TRUE(held.IsValid());
    for (const OneOpen& second : AllOpens()) {
      EXPECT_EQ(OpenCode(Name("a"), second.access, second.share),
                ExpectedCode(first, second))
          << Described(first, second);
    }
  }
}

// Opens the file named by argv[1] as told by each line, "access share", and answers
// with the code; an opened file is closed at the next line.
TEST_CHILD(openAsTold) {
  HANDLE handle = INVALID_HANDLE_VALUE;
  for (std::string line; !(line = ChildReadLine()).empty();) {
    if (handle != INVALID_HANDLE_VALUE) {
      CloseHandle(handle);
    }
    OneOpen open = {};
    std::istringstream(line) >> open.access >> open.share;
    handle = Open(argv[1], open.access, open.share);
    ChildWriteLine(
        std::to_string(handle == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS));
  }
  return 0;
}

namespace {

std::string Tell(ChildProcess& child, const OneOpen& open) {
  child.WriteLine(std::to_string(open.access) + " " + std::to_string(open.share));
  return child.ReadLine();
}

}  // namespace

TEST_F(ShareModeTest, EveryPairInTwoProcesses) {
  ChildProcess child = ChildProcess::Start("openAsTold", {Name("a")});
  for (const OneOpen& first : AllOpens()) {
    ASSERT_EQ(Tell(child, first), "0");
    for (const OneOpen& second : AllOpens()) {
      EXPECT_EQ(OpenCode(Name("a"), second.access, second.share),
                ExpectedCode(first, second))
          << Described(first, second);
    }
  }
}

TEST_F(ShareModeTest, KilledProcessLetsGo) {
  ChildProcess child = ChildProcess::Start("openAsTold", {Name("a")});
  ASSERT_EQ(Tell(child, {GENERIC_READ | GENERIC_WRITE, 0}), "0");
  EXPECT_EQ(OpenCode(Name("a")), DWORD{ERROR_SHARING_VIOLATION});
  child.Kill();
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, 0), 0u);
}

TEST_F(ShareModeTest, RefusedCreationLeavesTheContent) {
  ChildProcess child = ChildProcess::Start("openAsTold", {Name("a")});
  ASSERT_EQ(Tell(child, {GENERIC_READ, FILE_SHARE_READ}), "0");
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_WRITE, kShareAll, CREATE_ALWAYS),
            DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_WRITE, kShareAll, TRUNCATE_EXISTING),
            DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(ReadWholeFile(Name("a")), "0123456789");
}

TEST_F(ShareModeTest, OpensForNoAccessMeetNobody) {
  const ScopedHandle alone(Open(Name("a"), GENERIC_READ | GENERIC_WRITE, 0));
  const ScopedHandle noAccess(Open(Name("a"), 0, 0));
  EXPECT_TRUE(noAccess.IsValid());
}

TEST_F(ShareModeTest, OneFileUnderTwoNames) {
  ASSERT_TRUE(MakeHardLink(Name("a"), Name("other")));
  const ScopedHandle held(Open(Name("a"), GENERIC_READ, FILE_SHARE_READ));
  EXPECT_EQ(OpenCode(Name("other"), GENERIC_WRITE), DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(OpenCode(Name("d/x"), GENERIC_WRITE), 0u);
}

TEST_F(ShareModeTest, DeletionWantsToBeShared) {
  for (const DWORD share : {kShareAll - FILE_SHARE_DELETE, kShareAll}) {
    WriteWholeFile(Name("b"), "b");
    ScopedHandle held(Open(Name("b"), GENERIC_READ, share));
    SetLastError(kUntouched);
    const BOOL deleted = DeleteFileA(Name("b").c_str());
    EXPECT_EQ(GetLastError(), deleted ? kUntouched : DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(deleted != 0, share == kShareAll);
    held.Close();
    EXPECT_EQ(FileExists(Name("b")), share != kShareAll);
  }
}

TEST_F(ShareModeTest, DeletionIsDeniedByAnotherProcess) {
  ChildProcess child = ChildProcess::Start("openAsTold", {Name("a")});
  ASSERT_EQ(Tell(child, {GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE}), "0");
  EXPECT_EQ(CodeOf([&] { return DeleteFileA(Name("a").c_str()); }),
            DWORD{ERROR_SHARING_VIOLATION});
  ASSERT_EQ(Tell(child, {GENERIC_READ, kShareAll}), "0");
  EXPECT_TRUE(DeleteFileA(Name("a").c_str()));
}
