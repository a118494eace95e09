// Where temporary files are placed.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>

#include "common/child/ChildProcess.h"
#include "common/expect/ExpectThrow.h"
#include "common/failing/FailingCall.h"
#include "common/failing/FakeDiskSpace.h"
#include "nex/nex_SystemErrorException.h"
#include "utl/TempFileFixture.h"

namespace {

class TempFileDirectoryTest : public TempFileFixture {
 protected:
  TempFileDirectoryTest() {
    for (const char* directory : {"o", "s", "t"}) {
      std::filesystem::create_directory(dir_.File(directory));
    }
    WriteWholeFile(dir_.File("file"), "");
  }
};

void ExpectStatusError(const std::string& candidate, int code) {
  const ScopedEnvironment scratch("SCRATCH", candidate.c_str());
  const utl_TempFile file("");
  EXPECT_THROW_FROM(file.Name(), nex_SystemErrorException,
                    omi_SystemErrorCode(omi_SystemErrorCode::kSystem, code).Text(),
                    "utl/impl/utl_Stat");
  try {
    file.Name();
  } catch (const nex_SystemErrorException& thrown) {
    EXPECT_EQ(thrown.ErrorCode().Code(), code);
  }
}

TEST_F(TempFileDirectoryTest, TheOptionComesFirst) {
  LoadOptions({"-tmpdir", Shown("o")});
  const ScopedEnvironment scratch("SCRATCH", Shown("s").c_str());
  const ScopedEnvironment tmpdir("TMPDIR", Shown("t").c_str());
  EXPECT_EQ(DirectoryOf(utl_TempFile("")), Shown("o"));
}

TEST_F(TempFileDirectoryTest, ScratchComesSecond) {
  const ScopedEnvironment scratch("SCRATCH", Shown("s").c_str());
  const ScopedEnvironment tmpdir("TMPDIR", Shown("t").c_str());
  EXPECT_EQ(DirectoryOf(utl_TempFile("")), Shown("s"));
}

TEST_F(TempFileDirectoryTest, TmpdirComesThird) {
  const ScopedEnvironment tmpdir("TMPDIR", Shown("t").c_str());
  EXPECT_EQ(DirectoryOf(utl_TempFile("")), Shown("t"));
}

TEST_F(TempFileDirectoryTest, WithoutADirectoryThereIsNoName) {
  std::filesystem::current_path(dir_.Path());
  EXPECT_THROW_TEXT(utl_TempFile("").Name(), utl_TempFileCantExc, kCantMakeName);
}

TEST_F(TempFileDirectoryTest, AMissingOptionDirectoryIsPassedOver) {
  LoadOptions({"-tmpdir", Shown("missing")});
  const ScopedEnvironment scratch("SCRATCH", Shown("s").c_str());
  EXPECT_EQ(DirectoryOf(utl_TempFile("")), Shown("s"));
}

TEST_F(TempFileDirectoryTest, AFileIsPassedOver) {
  const ScopedEnvironment scratch("SCRATCH", Shown("file").c_str());
  const ScopedEnvironment tmpdir("TMPDIR", Shown("t").c_str());
  utl_TempFile file("");
  file.Create();
  EXPECT_EQ(DirectoryOf(file), Shown("t"));
  EXPECT_FALSE(std::filesystem::is_empty(dir_.File("t")));
}

// Every candidate is absent, names nothing, names a file, names a directory.
TEST_F(TempFileDirectoryTest, TheFirstDirectoryIsTakenWhateverTheOthersAre) {
  const char* const kinds[] = {nullptr, "missing", "file", ""};
  const auto candidate = [&](const char* kind, const char* directory) {
    return kind == nullptr ? "" : Shown(*kind != '\0' ? kind : directory);
  };
  constexpr int kKinds = std::size(kinds);
  for (int i = 0; i < kKinds * kKinds * kKinds; ++i) {
    const std::string option = candidate(kinds[i / kKinds / kKinds], "o");
    const std::string second = candidate(kinds[i / kKinds % kKinds], "s");
    const std::string third = candidate(kinds[i % kKinds], "t");
    SCOPED_TRACE("option \"" + option + "\"");
    SCOPED_TRACE("SCRATCH \"" + second + "\"");
    SCOPED_TRACE("TMPDIR \"" + third + "\"");
    thr_GlobalSingleton<utl_CommandLine>::Destroy();
    if (!option.empty()) {
      LoadOptions({"-tmpdir", option});
    }
    const ScopedEnvironment scratch("SCRATCH", second.empty() ? nullptr : second.c_str());
    const ScopedEnvironment tmpdir("TMPDIR", third.empty() ? nullptr : third.c_str());
    std::string expected;
    for (const auto& [given, directory] :
         {std::pair{option, "o"}, {second, "s"}, {third, "t"}}) {
      if (expected.empty() && given == Shown(directory)) {
        expected = given;
      }
    }
    const utl_TempFile file("");
    if (expected.empty()) {
      EXPECT_THROW_TEXT(file.Name(), utl_TempFileCantExc, kCantMakeName);
    } else {
      EXPECT_EQ(DirectoryOf(file), expected);
    }
  }
}

TEST_F(TempFileDirectoryTest, ASeparatorIsAddedUnlessThereIsOne) {
  const std::pair<std::string, std::string> cases[] = {
      {Shown("s"), Shown("s\\")},
      {Shown("s\\"), Shown("s\\")},
      {Shown("s\\\\"), Shown("s\\\\")},
      {Shown("s/"), Shown("s/\\")},
      {"Z:\\", "Z:\\"},
      {"Z:", "Z:\\"},
  };
  for (const auto& [given, directory] : cases) {
    const ScopedEnvironment scratch("SCRATCH", given.c_str());
    const std::string start = directory + "KstTempFile";
    EXPECT_EQ(NameOf(utl_TempFile("")).substr(0, start.size()), start) << given;
  }
}

TEST_F(TempFileDirectoryTest, AMissingParentIsAnError) {
  ExpectStatusError(Shown("missing\\sub"), 3);
}

TEST_F(TempFileDirectoryTest, AnUnreadableStatusIsAnError) {
  const ScopedEnvironment scratch("SCRATCH", Shown("s").c_str());
  const ScopedEnvironment tmpdir("TMPDIR", Shown("t").c_str());
  const utl_TempFile file("");
  for (const SystemCall call :
       {SystemCall::kCreateFile, SystemCall::kGetFileInformationByHandle}) {
    const FailingCall denied(call, ERROR_ACCESS_DENIED);
    EXPECT_THROW_TEXT(file.Name(), nex_SystemErrorException,
                      omi_SystemErrorCode(omi_SystemErrorCode::kSystem, 5).Text());
  }
  EXPECT_EQ(DirectoryOf(file), Shown("s"));
}

TEST_F(TempFileDirectoryTest, AnErrorOfALaterCandidateDoesNotShow) {
  LoadOptions({"-tmpdir", Shown("o")});
  const ScopedEnvironment scratch("SCRATCH", Shown("missing\\sub").c_str());
  EXPECT_EQ(DirectoryOf(utl_TempFile("")), Shown("o"));
}

TEST_F(TempFileDirectoryTest, AnOptionWithoutValueIsAnError) {
  LoadOptions({"-tmpdir"});
  const ScopedEnvironment scratch("SCRATCH", Shown("s").c_str());
  EXPECT_THROW_TEXT(utl_TempFile("").Name(), nex_SystemErrorException,
                    omi_SystemErrorCode(omi_SystemErrorCode::kSystem, 3).Text());
}

// Prints the number of the system's error.
TEST_CHILD(nameTempFile) {
  try {
    ChildWriteLine(utl_TempFile("").Name().c_str());
  } catch (const nex_SystemErrorException& thrown) {
    ChildWriteLine(std::to_string(thrown.ErrorCode().Code()));
  }
  return 0;
}

TEST_F(TempFileDirectoryTest, AVariableSetToNothingIsAnError) {
  for (const char* variable : {"SCRATCH", "TMPDIR"}) {
    SetEmptyForChildren(variable);
    ChildProcess child = ChildProcess::Start("nameTempFile");
    EXPECT_EQ(child.ReadLine(), "3") << variable;
    EXPECT_EQ(child.Wait(), 0);
    SetEnvironment(variable, nullptr);
  }
}

// The directory is found; but its space is asked for under the first two characters.
TEST_F(TempFileDirectoryTest, ARelativeDirectoryHasNoFreeSpace) {
  std::filesystem::current_path(dir_.Path());
  std::filesystem::create_directory("sub");
  const ScopedEnvironment scratch("SCRATCH", "sub");
  utl_TempFile file("dat");
  const std::string text = "error: 2:  could not get free space for \"su\\\"\n";
  for (int i = 0; i < 2; ++i) {
    EXPECT_THROW_TEXT(file.Name(), nex_TextException, text.c_str());
    EXPECT_THROW_TEXT(file.AvailableSpace(), nex_TextException, text.c_str());
    EXPECT_THROW_TEXT(file.Create(), nex_TextException, text.c_str());
  }
  EXPECT_TRUE(std::filesystem::is_empty("sub"));

  const ScopedEnvironment absolute("SCRATCH", Shown("s").c_str());
  EXPECT_EQ(DirectoryOf(file), Shown("s")) << "the object had no name";
  EXPECT_TRUE(NameOf(file).ends_with(".dat")) << "the suffix was kept";
}

TEST_F(TempFileDirectoryTest, AnAbsoluteDirectoryNeedsNoDrive) {
  const std::string backslashes = Shown("s").substr(2);
  std::string slashes = backslashes;
  std::replace(slashes.begin(), slashes.end(), '\\', '/');
  for (const std::string& path : {backslashes, slashes}) {
    const ScopedEnvironment scratch("SCRATCH", path.c_str());
    const FakeDiskSpace disk(1000, 2000);
    const utl_TempFile file("");
    EXPECT_EQ(DirectoryOf(file), path);
    EXPECT_EQ(disk.Asked(), path);
  }
}

TEST_F(TempFileDirectoryTest, TheSpaceAskedForIsThatOfTheDrive) {
  for (const char* candidate : {"s", "s\\"}) {
    const ScopedEnvironment scratch("SCRATCH", Shown(candidate).c_str());
    const FakeDiskSpace disk(1000, 2000);
    EXPECT_EQ(utl_TempFile("").AvailableSpace(), 1000);
    EXPECT_EQ(disk.Asked(), "Z:\\");
  }
}

TEST_F(TempFileDirectoryTest, UnknownFreeSpaceLeavesTheObjectUnnamed) {
  const ScopedEnvironment scratch("SCRATCH", Shown("s").c_str());
  const utl_TempFile file("");
  {
    const FailingCall failing(SystemCall::kGetDiskFreeSpaceEx, ERROR_ACCESS_DENIED);
    EXPECT_THROW_TEXT(file.Name(), nex_TextException,
                      "error: 5:  could not get free space for \"Z:\\\"\n");
  }
  EXPECT_EQ(DirectoryOf(file), Shown("s"));
}

TEST_F(TempFileDirectoryTest, TheDirectoryIsChosenOnce) {
  const utl_TempFile file("");
  EXPECT_THROW_TEXT(file.Name(), utl_TempFileCantExc, kCantMakeName);
  const ScopedEnvironment scratch("SCRATCH", Shown("s").c_str());
  EXPECT_EQ(DirectoryOf(file), Shown("s")) << "tried again";
  const ScopedEnvironment other("SCRATCH", Shown("t").c_str());
  EXPECT_EQ(DirectoryOf(file), Shown("s")) << "named for good";
}

}  // namespace
