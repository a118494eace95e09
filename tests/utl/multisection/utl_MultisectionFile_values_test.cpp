// Sections as numbers, the list of them, and files that move from object to object.

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/expect/PeakMemory.h"
#include "nex/nex_AssertException.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

using Doubles = std::vector<double>;
using Ints = std::vector<int>;

class MultisectionValuesTest : public MultisectionTest {
 protected:
  utl_MultisectionFile NewFile() const { return {path_, utl_FileAccessWrite}; }
  utl_MultisectionFile Reader() const { return {path_, utl_FileAccessRead}; }
};

TEST_F(MultisectionValuesTest, NumbersComeBackFromMemoryAndFromTheFile) {
  const Doubles loads = {1.5, -2.0, std::numeric_limits<double>::infinity()};
  utl_MultisectionFile file = NewFile();
  file.setSection<double>("loads", loads);
  file.setSection<int>("ids", std::array{1, -7});
  EXPECT_EQ(file.getSection<double>("loads"), loads);
  file.saveChanges();
  EXPECT_EQ(file.getSection<double>("loads"), loads);
  EXPECT_EQ(file.getSection<int>("ids"), (Ints{1, -7}));
  EXPECT_EQ(file.getSectionLength("ids"), 8);
}

TEST_F(MultisectionValuesTest, StructuresComeBackToo) {
  struct Node {
    int id;
    double x;
  };
  const Node nodes[] = {{3, 0.5}, {4, 1.5}};
  utl_MultisectionFile file = NewFile();
  file.setSection<Node>(std::string("nodes"), nodes);
  const std::vector<Node> back = file.getSection<Node>(std::string("nodes"));
  ASSERT_EQ(back.size(), 2U);
  EXPECT_EQ(back[1].id, 4);
  EXPECT_EQ(back[1].x, 1.5);
}

TEST_F(MultisectionValuesTest, NoValuesAreAnEmptySection) {
  utl_MultisectionFile file = NewFile();
  file.setSection<double>("none", {});
  EXPECT_TRUE(file.hasSection("none"));
  EXPECT_TRUE(file.getSection<double>("none").empty());
  file.saveChanges();
  EXPECT_TRUE(file.getSection<double>("none").empty());
}

TEST_F(MultisectionValuesTest, LengthThatIsNoWholeNumberOfValuesIsAnError) {
  WriteImage({{"a", "1234567"}});
  utl_MultisectionFile file = Reader();
  EXPECT_THROW_AT(file.getSection<double>("a"), nex_TextException,
                  Message("Section \"a\" has 7 bytes, which is no whole number of values "
                          "of 8 bytes")
                      .c_str(),
                  "utl/impl/utl_MultisectionFile", 323);
  EXPECT_EQ(file.getSection<char>("a").size(), 7U);
}

TEST_F(MultisectionValuesTest, AbsentSectionIsToldWithItsFile) {
  utl_MultisectionFile file = NewFile();
  EXPECT_THROW_TEXT(file.getSection<int>("no"), nex_AssertException,
                    Message("There is no section \"no\"").c_str());
}

TEST_F(MultisectionValuesTest, DamagedBytesAreFound) {
  std::string image = BuildImage({{"a", "12345678"}});
  image.back() = '9';
  WriteWholeFile(file_, image);
  utl_MultisectionFile file = Reader();
  EXPECT_THROW_TEXT(file.getSection<int>("a"), nex_TextException,
                    Message("Data corrupted in section \"a\"").c_str());
}

TEST_F(MultisectionValuesTest, LengthThatTheFileDoesNotHaveTakesNoMemory) {
  std::string image = BuildImage({{"a", "12345678"}});
  const int lengths[] = {0x7FFFFFF8, -8};
  // The length stands behind the header, the length of the name and the name.
  std::memcpy(image.data() + 12 + 4 + 1, &lengths[0], 4);
  WriteWholeFile(file_, image);
  {
    utl_MultisectionFile file = Reader();
    const std::int64_t before = PeakMemory();
    EXPECT_THROW_TEXT(file.getSection<double>("a"), utl_FileExceptionRead,
                      EndOfFileText());
    EXPECT_LT(PeakMemory() - before, 256 * 1024 * 1024);
  }
  std::memcpy(image.data() + 12 + 4 + 1, &lengths[1], 4);
  WriteWholeFile(file_, image);
  utl_MultisectionFile file = Reader();
  EXPECT_THROW_TEXT(file.getSection<double>("a"), nex_TextException,
                    Message("Data corrupted in section \"a\"").c_str());
}

TEST_F(MultisectionValuesTest, MoreBytesThanAFileCanHoldAreRefused) {
  utl_MultisectionFile file = NewFile();
  const double one = 1;
  // Nobody looks at the values: their number alone is too large.
  const std::span<const double> values(&one, std::size_t{1} << 28);
  EXPECT_THROW_TEXT(file.setSection<double>("a", values), nex_TextException,
                    Message("Total size exceeds 2147483647 bytes").c_str());
  EXPECT_FALSE(file.hasSection("a"));
}

TEST_F(MultisectionValuesTest, SectionsAreListedInTheOrderOfTheFile) {
  WriteImage({{"z", "123456789"}, {"", ""}, {"a", "1"}, {"z", "2"}});
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "new", "abc");
  Set(file, "a", "");
  std::string list;
  for (const utl_SectionInfo& section : file.getSections()) {
    list += std::string(section.name) + ' ' + std::to_string(section.length) + ", ";
  }
  EXPECT_EQ(list, "z 9,  0, a 0, z 1, new 3, ");
  EXPECT_EQ(file.getSections()[0].checksum, 0x0376E6E7U);
  EXPECT_EQ(file.getSections()[2].checksum, 0xFFFFFFFFU) << "that of what was set";
}

TEST_F(MultisectionValuesTest, FileWithoutSectionsHasAnEmptyList) {
  EXPECT_TRUE(NewFile().getSections().empty());
}

TEST_F(MultisectionValuesTest, SectionsAreCheckedByTheirNumber) {
  std::string bytes =
      BuildImage({{"a", "1"}, {"b", std::string(600'000, 'b')}, {"b", "2"}});
  bytes[bytes.size() - 2] = '!';
  WriteWholeFile(file_, bytes.substr(0, bytes.size() - 1));
  utl_MultisectionFile file = Reader();
  file.checkSection(0);
  EXPECT_CONTENTS_ERROR(file.checkSection(1), "Data corrupted in section \"b\"");
  EXPECT_END_OF_FILE(file.checkSection(2));
  Set(file, "b", "whole");
  file.checkSection(1);
  EXPECT_EQ(Get(file, "a"), "1");
  for (const int number : {-1, 3}) {
    EXPECT_THROW(file.checkSection(number), nex_AssertException) << number;
  }
}

TEST_F(MultisectionValuesTest, SectionOfNegativeLengthDoesNotPassItsCheck) {
  WriteWholeFile(file_, ImageHeader(1) + ImageInt(1) + "a" + ImageInt(-1) + ImageInt(0));
  EXPECT_CONTENTS_ERROR(Reader().checkSection(0), "Data corrupted in section \"a\"");
}

static_assert(!std::is_copy_constructible_v<utl_MultisectionFile>);
static_assert(std::is_move_assignable_v<utl_MultisectionFile>);

TEST_F(MultisectionValuesTest, MovedFileKeepsWhatWasSetAndItsLock) {
  utl_MultisectionFile first = NewFile();
  Set(first, "a", "new");
  {
    utl_MultisectionFile second = std::move(first);
    EXPECT_TRUE(FileExists(file_ + ".lock"));
    EXPECT_EQ(Get(second, "a"), "new");
    second.saveChangesAtomically();
  }
  EXPECT_FALSE(FileExists(file_ + ".lock"));
  EXPECT_EQ(ReadWholeFile(file_), BuildImage({{"a", "new"}}));
}

TEST_F(MultisectionValuesTest, AssignedFileReleasesTheOneBefore) {
  const std::string other = dir_.File("other.dat");
  utl_MultisectionFile file = NewFile();
  file = utl_MultisectionFile(other, utl_FileAccessWrite);
  EXPECT_FALSE(FileExists(file_ + ".lock"));
  EXPECT_TRUE(FileExists(other + ".lock"));
  NewFile();  // nobody has it open any more
  Set(file, "a", "1");
  file.saveChanges();
  EXPECT_EQ(ReadWholeFile(other), BuildImage({{"a", "1"}}));
}

TEST_F(MultisectionValuesTest, FileAssignedToItselfStays) {
  utl_MultisectionFile file = NewFile();
  Set(file, "a", "1");
  utl_MultisectionFile& same = file;
  file = std::move(same);
  EXPECT_EQ(Get(file, "a"), "1");
  EXPECT_TRUE(FileExists(file_ + ".lock"));
}

TEST_F(MultisectionValuesTest, FilesStandInAVector) {
  std::vector<utl_MultisectionFile> files;
  for (const char* name : {"a.kdb", "b.kdb", "c.kdb"}) {
    files.emplace_back(dir_.File(name), utl_FileAccessWrite);
    files.back().setSectionData("name", name, 5);
  }
  for (utl_MultisectionFile& file : files) {
    file.saveChanges();
  }
  files.clear();
  EXPECT_EQ(ReadWholeFile(dir_.File("b.kdb")), BuildImage({{"name", "b.kdb"}}));
}

}  // namespace
