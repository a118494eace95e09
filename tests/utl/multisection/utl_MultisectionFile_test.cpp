#include "utl/utl_MultisectionFile.h"

#include <limits>
#include <random>
#include <type_traits>
#include <utility>

#include "nex/nex_AssertException.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

using MultisectionFileTest = MultisectionTest;

static_assert(!std::is_copy_constructible_v<utl_MultisectionFile>);
static_assert(!std::is_copy_assignable_v<utl_MultisectionFile>);

std::string RandomData(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string data(size, '\0');
  for (char& byte : data) {
    byte = static_cast<char>(random());
  }
  return data;
}

TEST_F(MultisectionFileTest, NewFileWithoutSectionsIsTwelveBytes) {
  utl_MultisectionFile(path_, utl_FileAccessWrite).saveChanges();
  EXPECT_EQ(ReadWholeFile(file_), std::string("\x28\xC1\x1D\xAF\x01\0\0\0\0\0\0\0", 12));
}

// The bytes of docs/multisection-file.md.
TEST_F(MultisectionFileTest, WorkedExampleOfTheFormatPage) {
  {
    utl_MultisectionFile file(path_, utl_FileAccessWrite);
    Set(file, "a", "\x01\x02\x03");
    Set(file, "title", "Truss\n");
    Set(file, "none", "");
    file.saveChanges();
  }
  const std::string expected(
      "\x28\xC1\x1D\xAF\x01\0\0\0\x03\0\0\0"
      "\x01\0\0\0a\x03\0\0\0\x51\x69\x0D\x1B"
      "\x05\0\0\0title\x06\0\0\0\xE0\x7A\x07\x36"
      "\x04\0\0\0none\0\0\0\0\xFF\xFF\xFF\xFF"
      "\x01\x02\x03"
      "Truss\n",
      67);
  EXPECT_EQ(ReadWholeFile(file_), expected);
  EXPECT_EQ(BuildImage({{"a", "\x01\x02\x03"}, {"title", "Truss\n"}, {"none", ""}}),
            expected);
}

TEST_F(MultisectionFileTest, OneSectionHasTheDocumentedBytes) {
  {
    utl_MultisectionFile file(path_, utl_FileAccessWrite);
    Set(file, "a", "\x01\x02\x03");
    file.saveChanges();
  }
  EXPECT_EQ(ReadWholeFile(file_), ImageHeader(1) + ImageInt(1) + "a" + ImageInt(3) +
                                      ImageInt(ImageChecksum("\x01\x02\x03")) +
                                      "\x01\x02\x03");
}

TEST_F(MultisectionFileTest, EmptySectionHasTheChecksumOfNoBytes) {
  {
    utl_MultisectionFile file(path_, utl_FileAccessWrite);
    file.setSectionData("empty", nullptr, 0);
    EXPECT_TRUE(file.hasSection("empty"));
    file.getSectionData("empty", nullptr);
    file.saveChanges();
    file.getSectionData("empty", nullptr);
    EXPECT_EQ(Get(file, "empty"), "");
  }
  EXPECT_EQ(ReadWholeFile(file_),
            ImageHeader(1) + ImageInt(5) + "empty" + ImageInt(0) + ImageInt(0xFFFFFFFF));
}

TEST_F(MultisectionFileTest, EmptyNameIsAName) {
  {
    utl_MultisectionFile file(path_, utl_FileAccessWrite);
    EXPECT_FALSE(file.hasSection(""));
    Set(file, "", "nameless");
    file.saveChanges();
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"", "nameless"}}));
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(Get(file, ""), "nameless");
}

TEST_F(MultisectionFileTest, SettingAnExistingSectionKeepsItsPlaceAndANewOneGoesLast) {
  WriteImage({{"a", "1"}, {"b", "2"}, {"c", "3"}});
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "new", "4");
    Set(file, "b", "longer");
    file.saveChanges();
  }
  EXPECT_EQ(ReadWholeFile(file_),
            BuildImage({{"a", "1"}, {"b", "longer"}, {"c", "3"}, {"new", "4"}}));
}

TEST_F(MultisectionFileTest, ReadsWhatTheSecondWriterWrote) {
  const Image image = {{"title", "a frame"}, {"", ""}, {"big", RandomData(700000, 1)}};
  WriteImage(image);
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  for (const ImageSection& section : image) {
    EXPECT_TRUE(file.hasSection(Text(section.name)));
    EXPECT_EQ(file.getSectionLength(Text(section.name)),
              static_cast<int>(section.data.size()));
    EXPECT_EQ(Get(file, section.name), section.data);
  }
  EXPECT_FALSE(file.hasSection("absent"));
}

TEST_F(MultisectionFileTest, LengthsAndBytesComeFromMemoryOnceSet) {
  WriteImage({{"a", "in the file"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  EXPECT_EQ(file.getSectionLength("a"), 11);
  Set(file, "a", "new");
  EXPECT_EQ(file.getSectionLength("a"), 3);
  EXPECT_EQ(Get(file, "a"), "new");
  Set(file, "a", "");
  EXPECT_EQ(file.getSectionLength("a"), 0);
  EXPECT_EQ(Get(file, "a"), "");
}

TEST_F(MultisectionFileTest, DataIsCopiedWhenSet) {
  utl_MultisectionFile file(path_, utl_FileAccessWrite);
  char data[] = "before";
  file.setSectionData("a", data, 6);
  data[0] = 'X';
  EXPECT_EQ(Get(file, "a"), "before");
}

TEST_F(MultisectionFileTest, NamesAreCaseSensitive) {
  WriteImage({{"name", "1"}, {"Name", "2"}});
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(Get(file, "name"), "1");
  EXPECT_EQ(Get(file, "Name"), "2");
  EXPECT_FALSE(file.hasSection("NAME"));
  EXPECT_FALSE(file.hasSection("nam"));
  EXPECT_FALSE(file.hasSection("name "));
}

TEST_F(MultisectionFileTest, NamesAreComparedUpToAZeroByteAndKeptWhole) {
  const std::string name("ab\0cd", 5);
  WriteImage({{name, "1"}, {"x", "2"}});
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    EXPECT_EQ(Get(file, "ab"), "1");
    EXPECT_EQ(Get(file, std::string("ab\0other", 8)), "1");
    Set(file, "ab", "3");
    file.saveChanges();
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{name, "3"}, {"x", "2"}}));
}

TEST_F(MultisectionFileTest, FirstOfEqualNamesIsMeantAndTheOthersAreCarriedAlong) {
  WriteImage({{"a", "first"}, {"b", "x"}, {"a", "second"}});
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    EXPECT_EQ(Get(file, "a"), "first");
    Set(file, "a", "new");
    file.saveChanges();
  }
  EXPECT_EQ(ReadWholeFile(file_),
            BuildImage({{"a", "new"}, {"b", "x"}, {"a", "second"}}));
}

TEST_F(MultisectionFileTest, SavedSectionsAreReadFromTheFileAgain) {
  utl_MultisectionFile file(path_, utl_FileAccessWrite);
  Set(file, "a", "one");
  Set(file, "b", RandomData(300000, 2));
  file.saveChanges();
  EXPECT_EQ(Get(file, "a"), "one");
  EXPECT_EQ(Get(file, "b"), RandomData(300000, 2));
  Set(file, "a", "two, longer");
  file.saveChanges();
  EXPECT_EQ(Get(file, "a"), "two, longer");
  EXPECT_EQ(Get(file, "b"), RandomData(300000, 2));
  EXPECT_EQ(ReadWholeFile(file_),
            BuildImage({{"a", "two, longer"}, {"b", RandomData(300000, 2)}}));
}

// Where the file stands is remembered from read to read; whatever moves it must count.
TEST_F(MultisectionFileTest, SectionsAreFoundWhereverTheFileStands) {
  WriteImage({{"a", "1"}, {"b", "22"}, {"c", "333"}, {"d", "4444"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  EXPECT_EQ(Get(file, "b"), "22");
  EXPECT_EQ(Get(file, "c"), "333");
  EXPECT_EQ(Get(file, "a"), "1");
  file.saveChanges();  // moves the file, and no section
  EXPECT_EQ(Get(file, "b"), "22");
  Set(file, "c", "new");
  EXPECT_EQ(Get(file, "c"), "new");
  EXPECT_EQ(Get(file, "d"), "4444");
  EXPECT_EQ(Get(file, "b"), "22");
  file.saveChanges();
  EXPECT_EQ(Get(file, "c"), "new");
  EXPECT_EQ(Get(file, "d"), "4444");
}

TEST_F(MultisectionFileTest, SectionsAfterEmptyOnesAreFoundAfterASave) {
  WriteImage({{"a", ""}, {"b", "old"}, {"c", ""}, {"d", "4444"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  for (const char* data : {"new", "", "newer"}) {
    Set(file, "b", data);
    file.saveChanges();
    EXPECT_EQ(Get(file, "a"), "");
    EXPECT_EQ(Get(file, "b"), data);
    EXPECT_EQ(Get(file, "c"), "");
    EXPECT_EQ(Get(file, "d"), "4444");
  }
}

TEST_F(MultisectionFileTest, SectionAfterTwoGigabytesLessAFewBytes) {
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  const ImageSection last = {"b", "the last bytes"};
  const std::int64_t directory = 12 + 2 * 13;
  const auto hole = kMax - directory - static_cast<std::int64_t>(last.data.size());
  WriteWholeFile(file_, ImageHeader(2) + ImageInt(1) + "a" + ImageInt(hole) +
                            ImageInt(0) + ImageEntry(last));
  {
    utl_File sparse(path_, utl_FileAccessUpdate, utl_FileShareDefault);
    sparse.Seek(directory + hole);
    sparse.Write(last.data.data(), static_cast<int>(last.data.size()));
    EXPECT_TRUE(sparse.FileSize() == kMax);
  }
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  EXPECT_EQ(file.getSectionLength("a"), hole);
  EXPECT_EQ(Get(file, "b"), last.data);
  Set(file, "b", last.data + "!");
  EXPECT_CONTENTS_ERROR(file.saveChanges(), "Total size exceeds 2147483647 bytes");
}

TEST_F(MultisectionFileTest, SavingCutsTheFileToItsNewLength) {
  WriteImage({{"a", RandomData(5000, 3)}, {"b", "kept"}});
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", "short");
    file.saveChanges();
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "short"}, {"b", "kept"}}));
}

TEST_F(MultisectionFileTest, SavingWithoutChangesKeepsTheBytes) {
  WriteImage({{"a", "1"}, {"b", RandomData(600000, 4)}});
  const std::string before = ReadWholeFile(file_);
  utl_MultisectionFile(path_, utl_FileAccessUpdate).saveChanges();
  EXPECT_EQ(ReadWholeFile(file_), before);
}

TEST_F(MultisectionFileTest, DestructorDoesNotSave) {
  WriteImage({{"a", "old"}});
  {
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "a", "new");
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "old"}}));
}

TEST_F(MultisectionFileTest, LengthsAroundTheSizesThatAreMovedAtOnce) {
  constexpr std::size_t kPiece = 1 << 18;
  Image image;
  for (const std::size_t size :
       {kPiece - 100, kPiece - 1, kPiece, kPiece + 1, std::size_t{1}, 2 * kPiece,
        2 * kPiece + 77, std::size_t{0}}) {
    image.push_back({"s" + std::to_string(size), RandomData(size, 5)});
  }
  {
    utl_MultisectionFile file(path_, utl_FileAccessWrite);
    for (const ImageSection& section : image) {
      Set(file, section.name, section.data);
    }
    file.saveChanges();
    EXPECT_EQ(ReadWholeFile(file_), BuildImage(image));
    image[4].data = "changed";
    Set(file, image[4].name, image[4].data);
    file.saveChanges();
    EXPECT_EQ(ReadWholeFile(file_), BuildImage(image));
    for (const ImageSection& section : image) {
      EXPECT_EQ(Get(file, section.name), section.data);
    }
  }
}

TEST_F(MultisectionFileTest, ManySmallSections) {
  Image image;
  for (int i = 0; i < 10000; ++i) {
    image.push_back({"section " + std::to_string(i), std::to_string(i * 7)});
  }
  {
    utl_MultisectionFile file(path_, utl_FileAccessWrite);
    for (const ImageSection& section : image) {
      Set(file, section.name, section.data);
    }
    file.saveChanges();
  }
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(image));
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  for (const ImageSection& section : image) {
    ASSERT_EQ(Get(file, section.name), section.data);
  }
}

// The last copy of a save takes long runs of these from memory, and all others from the
// temporary file.
TEST_F(MultisectionFileTest, RunsOfChangedSectionsBetweenUnchangedOnes) {
  for (const Save save : kSaves) {
    Image image;
    for (int i = 0; i < 2000; ++i) {
      image.push_back({"s" + std::to_string(i), std::to_string(i)});
    }
    WriteImage(image);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    // 10, 100, 600 and again 600 sections of 1,024 bytes, the last ones at the end.
    for (const auto& [begin, end] : {std::pair(100, 110), std::pair(200, 300),
                                     std::pair(400, 1000), std::pair(1400, 2000)}) {
      for (int i = begin; i < end; ++i) {
        auto& [name, data] = image[static_cast<std::size_t>(i)];
        data.assign(1024, static_cast<char>('a' + i % 26));
        Set(file, name, data);
      }
    }
    (file.*save)();
    EXPECT_TRUE(ReadWholeFile(file_) == BuildImage(image));
  }
}

TEST_F(MultisectionFileTest, NameLongerThanTheReadBuffer) {
  const Image image = {{RandomData(200000, 6), "1"}, {"b", "2"}};
  WriteImage(image);
  utl_MultisectionFile(path_, utl_FileAccessUpdate).saveChanges();
  EXPECT_EQ(ReadWholeFile(file_), BuildImage(image));
}

TEST_F(MultisectionFileTest, AbsentSectionIsAViolatedConditionWithFileAndName) {
  utl_MultisectionFile file(path_, utl_FileAccessWrite);
  char buffer[8] = "as is";
  const std::string text = Message("There is no section \"no\"");
  EXPECT_THROW_AT(file.getSectionLength("no"), nex_AssertException, text.c_str(),
                  "utl/impl/utl_MultisectionFile", 323);
  EXPECT_THROW_AT(file.getSectionData("no", buffer), nex_AssertException, text.c_str(),
                  "utl/impl/utl_MultisectionFile", 323);
  EXPECT_STREQ(buffer, "as is");
  EXPECT_FALSE(file.hasSection("no"));
}

TEST_F(MultisectionFileTest, NegativeLengthIsAViolatedConditionAndChangesNothing) {
  WriteImage({{"a", "old"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  EXPECT_THROW_AT(file.setSectionData("a", "x", -1), nex_AssertException, "length >= 0",
                  "utl/impl/utl_MultisectionFile", 323);
  EXPECT_THROW_TEXT(file.setSectionData("new", "x", -1), nex_AssertException,
                    "length >= 0");
  EXPECT_EQ(Get(file, "a"), "old");
  EXPECT_FALSE(file.hasSection("new"));
}

TEST_F(MultisectionFileTest, MissingFileIsReportedByTheFileClass) {
  EXPECT_THROW_TEXT(utl_MultisectionFile(path_, utl_FileAccessRead),
                    utl_FileExceptionNoFile,
                    utl_FileExceptionNoFile(path_, "in OpenRead").AsString());
  EXPECT_THROW_TEXT(utl_MultisectionFile(path_, utl_FileAccessUpdate),
                    utl_FileExceptionNoFile,
                    utl_FileExceptionNoFile(path_, "in OpenUpdate").AsString());
  EXPECT_EQ(OtherFiles(), "");
}

}  // namespace
