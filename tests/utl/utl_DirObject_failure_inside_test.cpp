// Listings that find nothing, in part or at all: none of them throws.

#include <atomic>
#include <string>
#include <thread>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "common/failing/FailingCall.h"
#include "common/failing/WatchedFileCalls.h"
#include "utl/DirObjectTest.h"

namespace {

void ExpectEmpty(const utl_DirObject& listing) {
  EXPECT_TRUE(listing.GetAllEntries().IsEmpty());
  EXPECT_TRUE(listing.GetAllFileNames().IsEmpty());
  EXPECT_TRUE(listing.GetAllDirNames().IsEmpty());
  EXPECT_TRUE(listing.PrefixMatchFilenames("").IsEmpty());
  EXPECT_TRUE(listing.PrefixMatchDirNames("").IsEmpty());
  EXPECT_TRUE(listing.PrefixMatchAllEntries("").IsEmpty());
  EXPECT_TRUE(listing.FindFileNamesWithExtension("").IsEmpty());
  EXPECT_EQ(listing.FileCount(), 0);
  EXPECT_EQ(listing.DirCount(), 0);
}

}  // namespace

class DirObjectFailureTest : public DirObjectTest {};

TEST_F(DirObjectFailureTest, NamesThatAreNoDirectory) {
  MakeFiles({"file"});
  const std::string below = dir_.ShownPath() + "\\";
  for (const std::string& name :
       {below + "missing", below + "missing\\missing", below + "file", below + "file\\",
        below + "*", below + "fi?e", below + "<>|", std::string("Q:\\"),
        std::string("Q:\\dir"), std::string("\\\\kst-no-such-host\\share"),
        std::string("kstrdb://host/dir"), std::string("Network connectors"),
        std::string("Network connectors\\x"), below + std::string(300, 'n'),
        below + std::string(100'000, 'n')}) {
    SCOPED_TRACE(name.substr(0, 100));
    ExpectEmpty(Listing(name));
  }
}

// The system is asked about the directory's own name, which is one entry.
TEST_F(DirObjectFailureTest, NameWithAZeroByteEndsThere) {
  MakeFiles({"a"});
  const cow_String name = cow_String(dir_.ShownPath()) + cow_String("\0x", 2);
  const utl_DirObject listing(utl_FilePath(name, ""));
  EXPECT_EQ(listing.FileCount(), 0);
  EXPECT_EQ(FileNames(listing.GetAllDirNames()),
            Texts{std::filesystem::path(dir_.Path()).filename().string()});
}

TEST_F(DirObjectFailureTest, SearchThatDoesNotBegin) {
  MakeFiles({"a"});
  for (const SystemCall call :
       {SystemCall::kFindFirstFile, SystemCall::kFindFirstFileByNull}) {
    for (const Failing times : {Failing::kOnce, Failing::kFromThenOn}) {
      const FailingCall failing(call, ERROR_ACCESS_DENIED, 1, times);
      ExpectEmpty(List());
      EXPECT_TRUE(failing.Happened());
    }
  }
}

TEST_F(DirObjectFailureTest, SearchThatBreaksOffKeepsWhatItFound) {
  MakeFiles({"a", "b", "c"});
  for (const Failing times : {Failing::kOnce, Failing::kFromThenOn}) {
    for (int found = 1; found < 5; ++found) {
      const FailingCall failing(SystemCall::kFindNextFile, ERROR_IO_DEVICE, found, times);
      const utl_DirObject listing = List();
      EXPECT_TRUE(failing.Happened());
      EXPECT_EQ(listing.FileCount() + listing.DirCount(), found);
      EXPECT_EQ(listing.GetAllEntries().Length(), found);
    }
  }
}

TEST_F(DirObjectFailureTest, EverySearchIsClosed) {
  MakeFiles({"a"});
  const WatchedSearches watched;
  List();
  EXPECT_EQ(watched.Begun(), 1);
  EXPECT_EQ(watched.Closed(), 1);
  Listing(dir_.ShownPath() + "\\missing");
  EXPECT_EQ(watched.Begun(), 1);
  EXPECT_EQ(watched.Closed(), 1);
  const FailingCall failing(SystemCall::kFindNextFile, ERROR_IO_DEVICE);
  List();
  EXPECT_EQ(watched.Begun(), 2);
  EXPECT_EQ(watched.Closed(), 2);
}

TEST_F(DirObjectFailureTest, RemovedDirectoryStaysListed) {
  MakeDirectories({"d"});
  MakeFiles({"d/a"});
  const utl_DirObject listing = Listing(dir_.ShownPath() + "\\d");
  std::filesystem::remove_all(dir_.File("d"));
  EXPECT_EQ(listing.GetAllEntries().Length(), 3);
  EXPECT_EQ(FileNames(listing.PrefixMatchFilenames("a")), Texts{"a"});
}

TEST_F(DirObjectFailureTest, DirectoryThatComesAndGoes) {
  std::atomic<bool> done = false;
  std::thread other([&] {
    for (int i = 0; i < 20; ++i) {
      MakeDirectories({"d"});
      MakeFiles({"d/a", "d/b"});
      std::error_code ignored;
      while (std::filesystem::remove_all(dir_.File("d"), ignored),
             FileExists(dir_.File("d"))) {
      }
    }
    done = true;
  });
  while (!done) {
    const utl_DirObject listing = Listing(dir_.ShownPath() + "\\d");
    EXPECT_LE(listing.FileCount(), 2);
    EXPECT_LE(listing.DirCount(), 2);
  }
  other.join();
}

// The number of entries that another user sees.
TEST_CHILD(listAsOtherUser) {
  if (!BecomeOtherUser()) {
    return 100;
  }
  return Listing(argv[1]).GetAllEntries().Length();
}

TEST_F(DirObjectFailureTest, UnreadableDirectory) {
  MakeDirectories({"d"});
  MakeFiles({"d/a"});
  const std::string name = dir_.ShownPath() + "\\d";
  const int readable = ChildProcess::Start("listAsOtherUser", {name}).Wait();
  if (readable == 100) {
    GTEST_SKIP() << "no other user than root to be had on this target";
  }
  EXPECT_EQ(readable, 3);
  std::filesystem::permissions(dir_.File("d"), std::filesystem::perms::none);
  EXPECT_EQ(ChildProcess::Start("listAsOtherUser", {name}).Wait(), 0);
  std::filesystem::permissions(dir_.File("d"), std::filesystem::perms::owner_all);
}
