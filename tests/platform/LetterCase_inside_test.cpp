// Names that differ in letter case alone are one name, in small directories and in large
// ones, whoever makes the files.

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/shell/Shell.h"
#include "platform/PlatformTest.h"
#include "utl/utl_NativePath.h"

namespace {

constexpr int kMany = 300;  // more than the layer reads for every name

DWORD CreateNew(const std::string& path) {
  return OpenCode(path, GENERIC_WRITE, kShareAll, CREATE_NEW);
}

}  // namespace

/// With the number of files that lie in its directory beside the others.
class LetterCaseTest : public PlatformTest, public testing::WithParamInterface<int> {
 protected:
  LetterCaseTest() {
    for (int i = 0; i < GetParam(); ++i) {
      WriteWholeFile(Name("other" + std::to_string(i)), "");
    }
    // Has the directory looked through before anything is asked of it.
    EXPECT_EQ(OpenCode(Name("never")), DWORD{ERROR_FILE_NOT_FOUND});
  }

  std::size_t Entries() const {
    const std::filesystem::directory_iterator entries(dir_.Path());
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
  }
};

INSTANTIATE_TEST_SUITE_P(FewAndMany, LetterCaseTest, testing::Values(0, kMany));

TEST_P(LetterCaseTest, AnotherSpellingIsTheFile) {
  WriteWholeFile(Name("Report.TXT"), "text");
  EXPECT_EQ(OpenCode(Name("report.txt")), 0u);
  EXPECT_EQ(OpenCode(Name("REPORT.TXT")), 0u);
  EXPECT_EQ(CreateNew(Name("report.txt")), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(OpenCode(Name("report.tx")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(OpenCode(Name("report.txt1")), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_P(LetterCaseTest, WritingEmptiesAnotherSpelling) {
  WriteWholeFile(Name("lower.txt"), "text");
  const std::size_t before = Entries();
  EXPECT_EQ(OpenCode(Name("LOWER.TXT"), GENERIC_WRITE, kShareAll, CREATE_ALWAYS), 0u);
  EXPECT_EQ(ReadWholeFile(Name("lower.txt")), "");
  EXPECT_EQ(Entries(), before);
}

TEST_P(LetterCaseTest, DirectoriesOnTheWay) {
  std::filesystem::create_directories(Name("One/Two"));
  WriteWholeFile(Name("One/Two/Three"), "text");
  EXPECT_EQ(OpenCode(Name("oNE\\tWO\\tHREE")), 0u);
  EXPECT_EQ(CreateNew(Name("ONE\\TWO\\new")), 0u);
  EXPECT_TRUE(FileExists(Name("One/Two/new")));
  EXPECT_EQ(OpenCode(Name("one\\twoo\\three")), DWORD{ERROR_PATH_NOT_FOUND});
}

// In the encoding of each target's names, in which the standard library does not join
// them on Windows.
TEST_P(LetterCaseTest, LettersBeyondAscii) {
  const auto encoded = [](const std::u8string& text) {
    return std::string(utl_fromNativePath(std::filesystem::path(text)).c_str());
  };
  const auto name = [&](const std::u8string& text) {
    return dir_.Path() + "\\" + encoded(text);
  };
  if (CreateNew(name(u8"Größe Ä1")) != 0) {
    GTEST_SKIP() << "this locale has no such names";
  }
  EXPECT_EQ(OpenCode(name(u8"größe ä1")), 0u);
  EXPECT_EQ(OpenCode(name(u8"GRÖßE Ä1")), 0u);
  EXPECT_EQ(CreateNew(name(u8"gRÖßE ä1")), DWORD{ERROR_FILE_EXISTS});
  EXPECT_EQ(OpenCode(name(u8"Grösse Ä1")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(OpenCode(name(u8"Größe á1")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(CreateNew(name(u8"É")), 0u);
  EXPECT_EQ(CreateNew(name(u8"È")), 0u);
  EXPECT_EQ(CreateNew(name(u8"é")), DWORD{ERROR_FILE_EXISTS});
  WIN32_FIND_DATAA data = {};
  const HANDLE search = FindFirstFileA(name(u8"gr*SSE Ä1").c_str(), &data);
  EXPECT_EQ(search, INVALID_HANDLE_VALUE);
  const HANDLE other = FindFirstFileA(name(u8"gr*E ä1").c_str(), &data);
  EXPECT_NE(other, INVALID_HANDLE_VALUE);
  EXPECT_EQ(data.cFileName, encoded(u8"Größe Ä1"));
  FindClose(other);
}

TEST_P(LetterCaseTest, NewNameIsWrittenAsItIsGiven) {
  EXPECT_EQ(CreateNew(Name("MiXed")), 0u);
  bool isThere = false;
  for (const auto& entry : std::filesystem::directory_iterator(dir_.Path())) {
    isThere = isThere || entry.path().filename() == "MiXed";
  }
  EXPECT_TRUE(isThere);
}

TEST_P(LetterCaseTest, SpellingThatOthersHaveJustMade) {
  for (int i = 0; i < 100; ++i) {
    const std::string number = std::to_string(i);
    EXPECT_EQ(CreateNew(Name("own" + number)), 0u);
    WriteWholeFile(Name("THEIRS" + number), "");
    EXPECT_EQ(CreateNew(Name("theirs" + number)), DWORD{ERROR_FILE_EXISTS}) << i;
  }
}

TEST_P(LetterCaseTest, SpellingThatOthersHaveJustTakenAway) {
  for (int i = 0; i < 20; ++i) {
    WriteWholeFile(Name("THEIRS"), "");
    EXPECT_EQ(OpenCode(Name("theirs")), 0u);
    std::filesystem::remove(Name("THEIRS"));
    EXPECT_EQ(OpenCode(Name("theirs")), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(CreateNew(Name("Theirs")), 0u);
    EXPECT_TRUE(DeleteFileA(Name("tHEIRS").c_str()));
  }
}

TEST_P(LetterCaseTest, SpellingsThatOthersRename) {
  WriteWholeFile(Name("First"), "text");
  std::filesystem::rename(Name("First"), Name("Second"));
  EXPECT_EQ(OpenCode(Name("first")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(OpenCode(Name("second")), 0u);
  std::filesystem::rename(Name("Second"), Name("d/Second"));
  EXPECT_EQ(OpenCode(Name("second")), DWORD{ERROR_FILE_NOT_FOUND});
  std::filesystem::rename(Name("d/Second"), Name("Third"));
  EXPECT_EQ(OpenCode(Name("third")), 0u);
  EXPECT_TRUE(MakeHardLink(Name("Third"), Name("Fourth")));
  EXPECT_EQ(OpenCode(Name("fourth")), 0u);
  std::filesystem::create_directory(Name("Fifth"));
  EXPECT_EQ(CreateNew(Name("fifth")), DWORD{ERROR_FILE_EXISTS});
}

TEST_CHILD(makeOtherSpellings) {
  for (std::string name = ChildReadLine(); !name.empty(); name = ChildReadLine()) {
    ChildWriteLine(std::to_string(CreateNew(name)));
  }
  return 0;
}

TEST_P(LetterCaseTest, TwoProcessesAgree) {
  ChildProcess child = ChildProcess::Start("makeOtherSpellings");
  for (int i = 0; i < 30; ++i) {
    const std::string number = std::to_string(i);
    EXPECT_EQ(CreateNew(Name("Mine" + number)), 0u);
    child.WriteLine(Name("mINE" + number));
    EXPECT_EQ(child.ReadLine(), std::to_string(ERROR_FILE_EXISTS)) << i;
    child.WriteLine(Name("Yours" + number));
    EXPECT_EQ(child.ReadLine(), "0");
    EXPECT_EQ(CreateNew(Name("yOURS" + number)), DWORD{ERROR_FILE_EXISTS}) << i;
  }
  child.CloseInput();
  EXPECT_EQ(child.Wait(), 0);
}

TEST_P(LetterCaseTest, ThreadsMakeEachNameOnce) {
  constexpr int kThreads = 4;
  constexpr int kNames = 50;
  const std::size_t before = Entries();
  std::vector<int> made(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t, &made] {
      for (int i = 0; i < kNames; ++i) {
        const std::string name = "t" + std::to_string(t) + "_" + std::to_string(i);
        made[static_cast<std::size_t>(t)] += CreateNew(Name(name)) == 0 ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(made, std::vector<int>(kThreads, kNames));
  EXPECT_EQ(Entries(), before + std::size_t{kThreads} * kNames);
  EXPECT_EQ(OpenCode(Name("T3_49")), 0u);
}

TEST_P(LetterCaseTest, DirectoryMadeAnew) {
  const std::string name = Name("again");
  for (const char* file : {"One", "Two"}) {
    std::filesystem::create_directory(name);
    for (int i = 0; i < GetParam(); ++i) {
      WriteWholeFile(name + "/" + std::to_string(i), "");
    }
    WriteWholeFile(name + "/" + file, "");
    EXPECT_EQ(OpenCode(name + "\\never"), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(OpenCode(name + "\\one"), std::string(file) == "One" ? 0u : 2u);
    EXPECT_EQ(OpenCode(name + "\\two"), std::string(file) == "Two" ? 0u : 2u);
    std::filesystem::remove_all(name);
  }
}

TEST_P(LetterCaseTest, DirectoriesThatChangePlaces) {
  std::filesystem::create_directory(Name("one"));
  std::filesystem::create_directory(Name("two"));
  for (int i = 0; i < GetParam(); ++i) {
    WriteWholeFile(Name("one/" + std::to_string(i)), "");
    WriteWholeFile(Name("two/" + std::to_string(i)), "");
  }
  WriteWholeFile(Name("one/InOne"), "");
  EXPECT_EQ(OpenCode(Name("two\\inone")), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(OpenCode(Name("one\\inone")), 0u);
  std::filesystem::rename(Name("one"), Name("three"));
  std::filesystem::rename(Name("two"), Name("one"));
  std::filesystem::rename(Name("three"), Name("two"));
  EXPECT_EQ(OpenCode(Name("two\\inone")), 0u);
  EXPECT_EQ(OpenCode(Name("one\\inone")), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_P(LetterCaseTest, ExactNameComesFirst) {
  if (!RunShell("cd " + ShellName(dir_.Path()) +
                " && printf 1 > File && printf 22 > FILE && printf 333 > fILE")) {
    GTEST_SKIP() << "there are no such names here";
  }
  const std::pair<const char*, long long> sizes[] = {
      {"File", 1}, {"FILE", 2}, {"fILE", 3}};
  for (const auto& [name, size] : sizes) {
    const ScopedHandle file(Open(Name(name)));
    EXPECT_EQ(SizeOf(file), size) << name;
  }
  EXPECT_EQ(CreateNew(Name("file")), DWORD{ERROR_FILE_EXISTS});
}
