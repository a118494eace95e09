// The rest of the public calls where memory runs out: see RefuseEachInTurn.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "memory/RefuseEachInTurn.h"
#include "thr/thr_ThreadSingleton.h"
#include "utl/omi_Btree.h"
#include "utl/utl_c.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_File.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_processes.h"
#include "utl/utl_Stat.h"
#include "utl/utl_Version.h"

namespace {

constexpr char kLong[] = "a text that is not kept in the string itself, being too long";

class RefusedMemoryCallsTest : public testing::Test {
 protected:
  RefusedMemoryCallsTest() {
    WriteWholeFile(dir_.File("a-file-with-a-long-name.extension"), "0123");
  }

  TempDir dir_;
  CurrentDirectory current_{dir_.Path()};
};

TEST_F(RefusedMemoryCallsTest, QueriesOfAListing) {
  const cow_String directory(dir_.Path());
  RefuseEachInTurn([&] {
    utl_DirObject listing(utl_FilePath(directory, ""));
    EXPECT_EQ(listing.GetAllFileNames().Length(), 1);
    EXPECT_EQ(listing.GetAllDirNames().Length(), 2);
    EXPECT_EQ(listing.PrefixMatchFilenames("a-file-with-a").Length(), 1);
    EXPECT_EQ(listing.PrefixMatchDirNames("a-file-with-a").Length(), 0);
    EXPECT_EQ(listing.FindFileNamesWithExtension(".extension").Length(), 1);
  });
}

TEST_F(RefusedMemoryCallsTest, QueriesOfAPath) {
  const cow_String directory(dir_.ShownPath() + "\\");
  RefuseEachInTurn([&] {
    utl_FilePath path =
        utl_FilePath::FromParts(directory, "", "a-file-with-a-long-name", ".extension");
    EXPECT_TRUE(path.Exists() && path.IsReadable() && path.IsWriteable());
    EXPECT_FALSE(path.IsDir());
    EXPECT_NE(path.PathName(), "");
    EXPECT_EQ(path.AbsoluteDirectoryPath().IsEmpty(), false);
    EXPECT_EQ(path.FileName(), "a-file-with-a-long-name.extension");
    EXPECT_EQ(path.BaseName(), "a-file-with-a-long-name");
    EXPECT_EQ(path.Extension(), ".extension");
    path.Portable().Native();
    path.SetFilePath(kLong, directory);
    const utl_FilePath native{std::filesystem::path(path)};
    EXPECT_EQ(native.AbsolutePathName(), path.AbsolutePathName());
  });
}

TEST_F(RefusedMemoryCallsTest, SectionsInAllTheirWays) {
  const std::vector<double> values(100, 0.5);
  {
    utl_MultisectionFile file("sections", utl_FileAccessWrite);
    file.setSection<double>(kLong, values);
    file.setSection<double>("second", values);
    file.saveChangesAtomically();
  }
  RefuseEachInTurn([&] {
    utl_MultisectionFile file("sections", utl_FileAccessRead);
    EXPECT_EQ(file.getSections().size(), 2U);
    EXPECT_TRUE(file.hasSection(kLong));
    EXPECT_EQ(file.getSectionLength("second"), 800);
    EXPECT_EQ(file.getSection<double>(kLong), values);
    file.checkSection(1);
    file.setSection<double>("third", values);
    utl_MultisectionFile moved(std::move(file));
    EXPECT_EQ(moved.getSection<double>("third"), values);
    EXPECT_ANY_THROW(moved.getSectionLength("missing"));
    EXPECT_ANY_THROW(moved.getSection<char[7]>("second"));
  });
}

TEST_F(RefusedMemoryCallsTest, QueriesOfTheCommandLine) {
  RefuseEachInTurn([] {
    thr_GlobalSingleton<utl_CommandLine>::Destroy();
    cow_1DArrayList<cow_String> list;
    for (const char* argument : {"-number", "12", "-text", kLong}) {
      list.Append(argument);
    }
    utl_CommandLineLoader::SetArgsList(list);
    const utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
    EXPECT_EQ(line.ConstGetValue("text"), kLong);
    EXPECT_EQ(line.ConstGetValue("missing", kLong), kLong);
    EXPECT_EQ(line.ConstGetValueAsInt("number", 1), 12);
    EXPECT_EQ(line.ConstGetValueAsSizeT("number"), 12U);
    EXPECT_EQ(line.ConstGetValueAsSizeT("missing", 5), 5U);
    EXPECT_EQ(line.ConstGet(1), "12");
    EXPECT_ANY_THROW(line.ConstGetValueAsSizeT("missing"));
  });
  thr_GlobalSingleton<utl_CommandLine>::Destroy();
}

TEST_F(RefusedMemoryCallsTest, TextsOfTheVersion) {
  RefuseEachInTurn([] {
    omi_Singleton<utl_Version>::Finalize();
    utl_Version& version = omi_Singleton<utl_Version>::Instance();
    version.SetProductName(kLong);
    version.SetExecutableName(utl_FilePath(kLong, "Z:\\"));
    EXPECT_NE(version.VersionNumber(), "");
    EXPECT_NE(version.Title(true), "");
    version.Sequence();
    version.SolaraVersion();
    version.PythonVersion();
    version.FoxVersion();
  });
}

TEST_F(RefusedMemoryCallsTest, StatusOfADescriptor) {
  const int fd = _open("a-file-with-a-long-name.extension", _O_RDONLY);
  RefuseEachInTurn([&] {
    const utl_Stat status(fd);
    const utl_Stat copy(status);
    EXPECT_NE(copy.record, nullptr);
    EXPECT_ANY_THROW(utl_Stat("missing").ThrowIfFileNotFound());
    EXPECT_ANY_THROW(utl_Stat(9999));
  });
  _close(fd);
}

TEST_F(RefusedMemoryCallsTest, TreeMapsOfNumbers) {
  RefuseEachInTurn([] {
    omi_Btree<int, int> map;
    for (int i = 0; i < 50; ++i) {
      map.Insert(i * 7 % 50, i);
    }
    const omi_Btree<int, int> copy(map);
    for (int i = 0; i < 50; i += 3) {
      EXPECT_TRUE(map.Remove(i));
    }
    EXPECT_EQ(copy.Size(), 50);
    int count = 0;
    for (const auto& pair : map) {
      count += pair.first >= 0 ? 1 : 0;
    }
    EXPECT_EQ(count, map.Size());
  });
}

TEST_F(RefusedMemoryCallsTest, ProcessesAndTheirFiles) {
  const cow_String path("a-file-with-a-long-name.extension");
  RefuseEachInTurn([&] {
    utl_File file(path, utl_FileAccessUpdate, utl_FileShareDefault);
    file.Init();
    EXPECT_EQ(utl_findWriters(path).size(), 1U);
    EXPECT_TRUE(utl_findProcess(GetCurrentProcessId()).has_value());
  });
}

struct PerThread {
  std::string text = kLong;
};

TEST_F(RefusedMemoryCallsTest, ObjectsOfAThread) {
  RefuseEachInTurn([] {
    EXPECT_EQ(thr_ThreadSingleton<PerThread>::Instance().text, kLong);
    thr_ThreadSingleton<PerThread>::Destroy();
  });
}

// The C interface has a status for it, and nothing of it is thrown.

class RefusedMemoryInCTest : public RefusedMemoryCallsTest {
 protected:
  RefusedMemoryInCTest() {
    char* arguments[] = {program_, option_, value_};
    EXPECT_EQ(kst_start(3, arguments), kst_Ok);
    EXPECT_EQ(kst_openSections("sections", kst_Write, &sections_), kst_Ok);
    EXPECT_EQ(kst_setSection(sections_, kLong, "abc", 3), kst_Ok);
    EXPECT_EQ(kst_openFile("file", kst_Write, kst_ShareDefault, &file_), kst_Ok);
    EXPECT_EQ(kst_openLogs("beam"), kst_Ok);
  }
  ~RefusedMemoryInCTest() override {
    EXPECT_EQ(kst_closeFile(file_), kst_Ok);
    EXPECT_EQ(kst_closeSections(sections_), kst_Ok);
    EXPECT_EQ(kst_end(), kst_Ok);
  }

  static void Expect(const std::function<kst_Status()>& call) {
    RefuseEachInTurnWithout([&] {
      const kst_Status status = call();
      const std::string text = status == kst_Ok ? "" : kst_lastError();
      // The system's own words, where it was a call to it that found none.
      const bool isTheSystems = text.find("Not enough memory.") != std::string::npos;
      EXPECT_TRUE(status == kst_Ok || status == kst_NoMemory || isTheSystems) << text;
    });
  }

  // As RefuseEachInTurn, for calls that may need no memory.
  static void RefuseEachInTurnWithout(const std::function<void()>& call) {
    call();
    const int handles = OpenHandles();
    for (int nth = 1; Refuse(nth, call); ++nth) {
      EXPECT_EQ(OpenHandles(), handles);
    }
  }

  ScopedEnvironment track_{"KES_IO_TRACK", "2"};
  ScopedEnvironment monitor_{"KES_RESOURCE_MONITOR", "ON"};
  char program_[8] = "program";
  char option_[5] = "-job";
  char value_[20] = "a-job-with-a-name--";
  kst_Sections* sections_ = nullptr;
  kst_File* file_ = nullptr;
  char buffer_[500] = {};
  std::size_t length_ = 0;
};

TEST_F(RefusedMemoryInCTest, Texts) {
  Expect([&] { return kst_versionText(buffer_, sizeof buffer_, &length_); });
  Expect([&] { return kst_jobFileName(".end", buffer_, sizeof buffer_, &length_); });
  Expect([&] { return kst_nativePath(kLong, buffer_, sizeof buffer_, &length_); });
  Expect([&] { return kst_option("job", buffer_, sizeof buffer_, &length_); });
  Expect([&] { return kst_argument(1, buffer_, sizeof buffer_, &length_); });
  int isThere = 0;
  Expect([&] { return kst_hasOption(kLong, &isThere); });
  int64_t number = 0;
  Expect([&] {
    const kst_Status status = kst_optionNumber(kLong, &number);
    return status == kst_NotFound ? kst_Ok : status;
  });
}

TEST_F(RefusedMemoryInCTest, Sections) {
  int isThere = 0;
  Expect([&] { return kst_hasSection(sections_, kLong, &isThere); });
  Expect([&] { return kst_sectionSize(sections_, kLong, &length_); });
  Expect([&] { return kst_getSection(sections_, kLong, buffer_, 3); });
  Expect([&] {
    return kst_visitSections(
        sections_, [](const char*, int64_t, void*) { return 0; }, nullptr);
  });
  Expect([&] { return kst_saveSections(sections_); });
  Expect([&] { return kst_saveSectionsInPlace(sections_); });
}

TEST_F(RefusedMemoryInCTest, Files) {
  int64_t number = 0;
  Expect([&] { return kst_writeFile(file_, kLong, sizeof kLong); });
  Expect([&] { return kst_seekFile(file_, 0); });
  Expect([&] { return kst_filePosition(file_, &number); });
  Expect([&] { return kst_fileSize(file_, &number); });
  Expect([&] { return kst_readFile(file_, buffer_, 3, &length_); });
  Expect([&] { return kst_resizeFile(file_, 100); });
  Expect([&] { return kst_flushFile(file_); });
}

TEST_F(RefusedMemoryInCTest, Logs) {
  kst_Totals totals;
  int isTracking = 0;
  Expect([&] { return kst_isTracking(&isTracking); });
  Expect([&] { return kst_mark(kLong); });
  Expect([&] {
    const kst_Status status = kst_beginPhase(1, kLong);
    return status == kst_Ok ? kst_endPhase(1) : status;
  });
  Expect([&] { return kst_trackOpen(0, 1, kLong); });
  Expect([&] { return kst_trackWrite(0, 1, 100, 0.5); });
  Expect([&] { return kst_trackRead(0, 1, 100, 0.5); });
  Expect([&] { return kst_trackTotals(0, 1, &totals); });
  Expect([&] { return kst_trackClose(0, 1); });
}

}  // namespace
