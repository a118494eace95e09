// Who may do what with the file, its lock and its temporary file. Where files have no
// permissions but those of their directory, there is nothing to be tested.

#include <windows.h>

#include "common/child/ChildProcess.h"
#include "common/environment/OtherUser.h"
#include "common/failing/FailingCall.h"
#include "utl/impl/multisection/utl_LockFileHolder.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

namespace fs = std::filesystem;

constexpr int kModes[] = {0600, 0640, 0644, 0660, 0664, 0666};

constexpr int kDone = 0;

fs::perms PermissionsOf(const std::string& path) {
  return fs::status(path).permissions();
}

class MultisectionRightsTest : public MultisectionTest {
 protected:
  void SetUp() override {
    WriteImage({{"a", "old"}});
    if (!Permit(0600)) {
      GTEST_SKIP() << "files have no permissions of their own here";
    }
  }

  /// Gives the file these permissions; false when it has got others.
  bool Permit(int mode) const {
    fs::permissions(file_, static_cast<fs::perms>(mode));
    return PermissionsOf(file_) == static_cast<fs::perms>(mode);
  }

  /// Lets everybody make files beside the file, and nobody delete those of others.
  void ShareDirectory() const {
    fs::permissions(dir_.Path(), fs::perms::all | fs::perms::sticky_bit);
  }

  /// Whether there is a user other than this one.
  bool HasOtherUser() const {
    const std::string probe = dir_.File("probe");
    WriteWholeFile(probe, "");
    const bool given = GiveToOtherUser(probe);
    fs::remove(probe);
    return given;
  }

  const std::string temporary_ =
      file_ + "." + std::to_string(GetCurrentProcessId()) + ".tmp";
};

TEST_F(MultisectionRightsTest, LockHasThePermissionsOfTheFile) {
  for (const int mode : kModes) {
    Permit(mode);
    const utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    EXPECT_EQ(PermissionsOf(lock_), static_cast<fs::perms>(mode)) << std::oct << mode;
  }
}

TEST_F(MultisectionRightsTest, LockOfANewFileHasThePermissionsOfAnyNewFile) {
  const std::string path = dir_.File("new.dat");
  WriteWholeFile(dir_.File("any"), "");
  const utl_MultisectionFile file(path.c_str(), utl_FileAccessWrite);
  EXPECT_EQ(PermissionsOf(path), PermissionsOf(dir_.File("any")));
  EXPECT_EQ(PermissionsOf(path + ".lock"), PermissionsOf(path));
}

TEST_F(MultisectionRightsTest, LockLikeNoFileIsItsOwnersAlone) {
  const utl_LockFileHolder lock(lock_.c_str(), 1, 0);
  EXPECT_EQ(PermissionsOf(lock_), fs::perms::owner_read | fs::perms::owner_write);
}

// The deletion at the end of the save is made to fail.
TEST_F(MultisectionRightsTest, TemporaryFileHasThePermissionsOfTheFile) {
  for (const int mode : kModes) {
    Permit(mode);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    {
      const FailingCall failure(SystemCall::kDeleteFile, ERROR_ACCESS_DENIED, 2);
      file.saveChanges();
    }
    EXPECT_EQ(PermissionsOf(temporary_), static_cast<fs::perms>(mode))
        << std::oct << mode;
    fs::remove(temporary_);
  }
}

TEST_F(MultisectionRightsTest, SavesKeepThePermissionsOfTheFile) {
  for (const Save save : kSaves) {
    for (const int mode : kModes) {
      Permit(mode);
      utl_MultisectionFile file(path_, utl_FileAccessUpdate);
      (file.*save)();
      EXPECT_EQ(PermissionsOf(file_), static_cast<fs::perms>(mode)) << std::oct << mode;
    }
  }
}

// Some users may write it all the same. What they have made they must be able to delete.
TEST_F(MultisectionRightsTest, FileThatNobodyMayWriteIsSavedAndNotReplaced) {
  Permit(0444);
  try {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", "new");
    EXPECT_THROW_TEXT(file.saveChangesAtomically(), utl_FileExceptionWrite,
                      utl_FileExceptionWrite(5, path_, "rights in Replace").AsString());
    EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "old"}}));
    file.saveChanges();
    EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
  } catch (const utl_FileExceptionOpen&) {
    GTEST_SKIP() << "not even this user may write it";
  }
  EXPECT_EQ(OtherFiles(), "");
  EXPECT_EQ(PermissionsOf(file_), static_cast<fs::perms>(0444));
}

TEST_F(MultisectionRightsTest, AtomicSaveKeepsTheOwner) {
  if (!GiveToOtherUser(file_)) {
    GTEST_SKIP() << "no file can be given away here";
  }
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", "new");
    file.saveChangesAtomically();
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
  EXPECT_EQ(OtherUserMayRead(file_), true) << "its owner, who alone may";
}

// Saves a file of somebody else that everybody may write.
TEST_CHILD(saveFileOfAnother) {
  if (!BecomeOtherUser()) {
    return 2;
  }
  const cow_String path(argv[1]);
  utl_MultisectionFile file(path, utl_FileAccessUpdate);
  // Its group is not ours to give: those of that group have no more rights than we.
  if (PermissionsOf(argv[1] + std::string(".lock")) != static_cast<fs::perms>(0606)) {
    return 3;
  }
  file.setSectionData("a", "new", 3);
  try {
    file.saveChangesAtomically();
    return 4;
  } catch (const utl_FileExceptionWrite& refusal) {
    if (refusal.AsString() !=
        utl_FileExceptionWrite(5, path, "rights in Replace").AsString()) {
      return 5;
    }
  }
  if (ReadWholeFile(argv[1]) != BuildImage({{"a", "old"}})) {
    return 6;
  }
  file.saveChanges();
  return kDone;
}

TEST_F(MultisectionRightsTest, FileWhoseOwnerCannotBeKeptIsSavedAndNotReplaced) {
  if (!HasOtherUser()) {
    GTEST_SKIP() << "no other user";
  }
  Permit(0666);
  ShareDirectory();
  EXPECT_EQ(ChildProcess::Start("saveFileOfAnother", {file_}).Wait(), kDone);
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
  EXPECT_EQ(OtherFiles(), "");
}

// Tells its number, and waits until there is something in its temporary file's place.
TEST_CHILD(saveBesideAFileOfAnother) {
  if (!BecomeOtherUser()) {
    return 2;
  }
  utl_MultisectionFile file(argv[1], utl_FileAccessUpdate);
  const std::string temporary =
      argv[1] + ("." + std::to_string(GetCurrentProcessId())) + ".tmp";
  const atr_String text =
      utl_FileExceptionOpen(5, temporary.c_str(), "CreateFile in OpenWrite").AsString();
  ChildWriteLine(temporary);
  ChildReadLine();
  for (const Save save : kSaves) {
    try {
      (file.*save)();
      return 3;
    } catch (const utl_FileExceptionOpen& refusal) {
      if (refusal.AsString() != text) {
        return 4;
      }
    }
  }
  return kDone;
}

TEST_F(MultisectionRightsTest, TemporaryFileOfSomebodyElseIsNotTakenOver) {
  if (!GiveToOtherUser(file_)) {
    GTEST_SKIP() << "no other user";
  }
  ShareDirectory();
  ChildProcess child = ChildProcess::Start("saveBesideAFileOfAnother", {file_});
  const std::string temporary = child.ReadLine();
  WriteWholeFile(temporary, "untouched");
  fs::permissions(temporary, static_cast<fs::perms>(0666));
  child.WriteLine("");
  EXPECT_EQ(child.Wait(), kDone);
  EXPECT_EQ(ReadWholeFile(temporary), "untouched");
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "old"}}));
}

}  // namespace
