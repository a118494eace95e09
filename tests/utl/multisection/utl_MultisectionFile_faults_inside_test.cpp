// Calls to the system that fail from one of them on, as those of a broken disk do, and
// processes that die at each call of a save.

#include <windows.h>

#include <random>

#include "common/child/ChildProcess.h"
#include "common/child/ProcessCopy.h"
#include "common/expect/Told.h"
#include "common/failing/FailingCall.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

constexpr DWORD kCode = ERROR_IO_DEVICE;

class MultisectionFaultsTest : public MultisectionTest,
                               public testing::WithParamInterface<Save> {
 protected:
  /// What a save came to of whose calls the nth failed, alone or with all that followed.
  struct Outcome {
    bool happened = false;
    std::string thrown;  // class and text, or ""
    std::string bytes;

    bool operator==(const Outcome&) const = default;
  };

  Outcome SaveFailing(SystemCall call, int nth, Failing failing) {
    WriteImage(kOld);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    for (const ImageSection& section : kNew) {
      Set(file, section.name, section.data);
    }
    Outcome outcome;
    {
      const FailingCall failure(call, kCode, nth, failing);
      try {
        (file.*GetParam())();
      } catch (const nex_TextException& thrown) {
        outcome.thrown = Told(thrown);
      }
      outcome.happened = failure.Happened();
    }
    outcome.bytes = ReadWholeFile(file_);
    return outcome;
  }

  static const Image kOld;
  static const Image kNew;
};

const Image MultisectionFaultsTest::kOld = {{"a", "old"}, {"b", "kept"}, {"c", "3"}};
const Image MultisectionFaultsTest::kNew = {{"a", "new, longer"}, {"c", ""}, {"d", "4"}};

INSTANTIATE_TEST_SUITE_P(BothSaves, MultisectionFaultsTest, testing::ValuesIn(kSaves),
                         [](const auto& save) {
                           return save.param == kSaves[0] ? "Ordinary" : "Atomic";
                         });

// What is thrown, and what is in the file, does not depend on what fails afterwards, and
// nothing is left over but what cannot be deleted.
TEST_P(MultisectionFaultsTest, CallsThatGoOnFailingAreAsTheFirstOne) {
  for (const SystemCall call :
       {SystemCall::kCloseHandle, SystemCall::kCreateFile, SystemCall::kDeleteFile,
        SystemCall::kFlushFileBuffers, SystemCall::kGetFileInformationByHandle,
        SystemCall::kGetFileSize, SystemCall::kMoveFileEx,
        SystemCall::kMoveFileExAfterwards, SystemCall::kReadFile,
        SystemCall::kSetEndOfFile, SystemCall::kSetFilePointer, SystemCall::kWriteFile}) {
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
      SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + ", time " +
                   std::to_string(nth));
      const Outcome once = SaveFailing(call, nth, Failing::kOnce);
      const Outcome all = SaveFailing(call, nth, Failing::kFromThenOn);
      happened = once.happened;
      EXPECT_EQ(all.thrown, once.thrown);
      EXPECT_TRUE(all == once);
      if (call == SystemCall::kDeleteFile) {
        for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
          std::filesystem::remove(entry.path());
        }
      }
      EXPECT_EQ(OtherFiles(), "");
    }
  }
}

using MultisectionOpeningFaultsTest = MultisectionTest;

// The second name is passed over, and the directory read again from its start.
TEST_F(MultisectionOpeningFaultsTest, CallsThatGoOnFailingLeaveNothing) {
  WriteImage({{"a", "1"}, {std::string(200000, 'n'), "2"}, {"c", "3"}});
  const std::pair<SystemCall, std::string> failures[] = {
      {SystemCall::kCreateFile,
       Told(utl_FileExceptionOpen(kCode, path_, "CreateFile in OpenUpdate"))},
      {SystemCall::kGetFileSize,
       Told(utl_FileExceptionSize(kCode, path_, "GetFileSize"))},
      {SystemCall::kReadFile, Told(utl_FileExceptionRead(kCode, path_, "ReadFile"))},
      {SystemCall::kSetFilePointer,
       Told(utl_FileExceptionSeek(kCode, path_, "SetFilePointer"))}};
  // A run time whose own calls can be made to fail creates the lock by this one.
  const std::string notLocked =
      Told(nex_TextException(Message("Cannot create the lock file.").c_str()));
  for (const auto& [call, told] : failures) {
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
      const FailingCall failure(call, kCode, nth, Failing::kFromThenOn);
      std::string thrown;
      try {
        const utl_MultisectionFile file(path_, utl_FileAccessUpdate);
      } catch (const nex_TextException& failed) {
        thrown = Told(failed);
      }
      happened = failure.Happened();
      const bool isOfTheLock =
          happened && call == SystemCall::kCreateFile && thrown == notLocked;
      EXPECT_TRUE(isOfTheLock || thrown == (happened ? told : ""))
          << thrown << ", time " << nth;
      EXPECT_TRUE(happened || nth > 1) << "no such call at all";
      EXPECT_EQ(OtherFiles(), "");
    }
  }
}

using MultisectionReadingFaultsTest = MultisectionTest;

TEST_F(MultisectionReadingFaultsTest, CallsThatGoOnFailingDoNoHarmOnceTheyWorkAgain) {
  const Image sections = {{"a", std::string(200000, 'a')}, {"b", "2"}, {"c", "3"}};
  WriteImage(sections);
  const std::pair<SystemCall, std::string> failures[] = {
      {SystemCall::kReadFile, Told(utl_FileExceptionRead(kCode, path_, "ReadFile"))},
      {SystemCall::kSetFilePointer,
       Told(utl_FileExceptionSeek(kCode, path_, "SetFilePointer"))}};
  for (const auto& [call, told] : failures) {
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
      utl_MultisectionFile file(path_, utl_FileAccessRead);
      {
        const FailingCall failure(call, kCode, nth, Failing::kFromThenOn);
        try {
          for (const char* name : {"c", "a", "b"}) {  // not one after the other
            Get(file, name);
          }
          happened = false;
        } catch (const nex_TextException& failed) {
          EXPECT_EQ(Told(failed), told) << "time " << nth;
        }
        EXPECT_EQ(happened, failure.Happened()) << "time " << nth;
      }
      EXPECT_TRUE(happened || nth > 1) << "no such call at all";
      for (const ImageSection& section : sections) {
        EXPECT_TRUE(Get(file, section.name) == section.data);
      }
    }
  }
}

/// A file before and after a save.
struct Shape {
  Image before, after;
};

// Sections that are kept, grow, shrink, come and go to nothing; some beyond a piece of
// the copy.
Shape ShapeOf(unsigned number) {
  std::mt19937 random(number);
  const auto data = [&random] {
    const std::size_t size = random() % (random() % 4 == 0 ? 200'000 : 100);
    return std::string(size, static_cast<char>('a' + random() % 26));
  };
  Shape shape;
  for (unsigned i = 0; i < random() % 5; ++i) {
    shape.before.push_back({std::to_string(i), data()});
  }
  shape.after = shape.before;
  for (ImageSection& section : shape.after) {
    if (random() % 2 == 0) {
      section.data = data();
    }
  }
  shape.after.push_back({"new", data()});
  return shape;
}

// Saves the shape and dies at the nth call after the file was opened, if there is one.
int SaveAndDie(const std::string& path, unsigned number, Save save, int nth) {
  const Shape shape = ShapeOf(number);
  {
    utl_MultisectionFile file(path, utl_FileAccessUpdate);
    for (const ImageSection& section : shape.after) {
      file.setSectionData(cow_String(section.name), section.data.data(),
                          static_cast<int>(section.data.size()));
    }
    DieAtCall(nth);
    (file.*save)();
  }
  DieAtCall(0);
  return 0;
}

TEST_CHILD(saveMultisectionFileAndDie) {
  return SaveAndDie(argv[1], static_cast<unsigned>(std::stoi(argv[2])),
                    kSaves[std::stoi(argv[3])], std::stoi(argv[4]));
}

class MultisectionDeathTest : public MultisectionFaultsTest {
 protected:
  // Whether a whole copy of the new file lies beside the file.
  bool HasCopyOf(const std::string& bytes) const {
    for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
      if (entry.path().extension() == ".tmp" &&
          ReadWholeFile(entry.path().string()) == bytes) {
        return true;
      }
    }
    return false;
  }

  void RemoveOtherFiles() const {
    for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
      std::filesystem::remove(entry.path());
    }
  }

  // Lets processes die at one call after the other. `save` runs a process, with the
  // number of the call; 99 is its death.
  template <class SaveInProcess>
  void ExpectOldOrNew(unsigned number, SaveInProcess save) {
    const std::string before = BuildImage(ShapeOf(number).before);
    const std::string after = BuildImage(ShapeOf(number).after);
    bool isNew = false;
    int status = 99;
    for (int nth = 1; status == 99; ++nth) {
      SCOPED_TRACE("shape " + std::to_string(number) + ", call " + std::to_string(nth));
      RemoveOtherFiles();
      WriteWholeFile(file_, before);
      status = save(nth);
      const std::string found = ReadWholeFile(file_);
      EXPECT_TRUE(found == after || (found == before && !isNew) ||
                  (GetParam() == kSaves[0] && HasCopyOf(after)));
      isNew = isNew || found == after;
      EXPECT_TRUE(nth > 1 || (status == 99 && !isNew)) << "the first call is too late";
    }
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(isNew);
    EXPECT_EQ(OtherFiles(), "");
  }

  void ExpectOldOrNewInForks(unsigned firstShape, unsigned endOfShapes) {
    if (!ProcessesCanBeCopied()) {
      GTEST_SKIP() << "a process takes too long to start here";
    }
    for (unsigned number = firstShape; number < endOfShapes; ++number) {
      ExpectOldOrNew(number, [&](int nth) {
        return RunInProcessCopy(
            [&] { return SaveAndDie(file_, number, GetParam(), nth); });
      });
    }
  }
};

INSTANTIATE_TEST_SUITE_P(BothSaves, MultisectionDeathTest, testing::ValuesIn(kSaves),
                         [](const auto& save) {
                           return save.param == kSaves[0] ? "Ordinary" : "Atomic";
                         });

TEST_P(MultisectionDeathTest, AtEveryCallLeavesTheOldOrTheNewFileOrACompleteCopy) {
  for (unsigned number = 0; number < 3; ++number) {
    ExpectOldOrNew(number, [&](int nth) {
      return ChildProcess::Start(
                 "saveMultisectionFileAndDie",
                 {file_, std::to_string(number), GetParam() == kSaves[0] ? "0" : "1",
                  std::to_string(nth)})
          .Wait();
    });
  }
}

TEST_P(MultisectionDeathTest, AtEveryCallWithFilesOfManyShapes) {
  ExpectOldOrNewInForks(0, 17);
}

// In pieces, since a sanitizer's processes take long to start.
TEST_P(MultisectionDeathTest, AtEveryCallWithFilesOfMoreShapes) {
  ExpectOldOrNewInForks(17, 34);
}

TEST_P(MultisectionDeathTest, AtEveryCallWithFilesOfStillMoreShapes) {
  ExpectOldOrNewInForks(34, 50);
}

}  // namespace
