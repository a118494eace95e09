// Files that are not what they should be.

#include <limits>

#include "common/expect/PeakMemory.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

class MultisectionDamageTest : public MultisectionTest {
 protected:
  /// A file of `size` bytes: `head`, and zeros.
  void WriteZeros(const std::string& head, std::int64_t size) const {
    WriteWholeFile(file_, head);
    utl_File file(path_, utl_FileAccessUpdate, utl_FileShareDefault);
    file.Seek(utl_FileOffset(size - 1));  // sparse: most of it takes no disk
    file.Write("", 1);
  }
};

constexpr std::int64_t kMaxInt = std::numeric_limits<std::int32_t>::max();

constexpr std::int64_t kMegabyte = 1 << 20;

// What damage may cost beside the size of the file: buffers, and what an allocator
// takes in advance.
constexpr std::int64_t kMemoryAllowance = 8 * kMegabyte;

// The same for many small files: a sanitizer's allocator holds on to what was released.
constexpr std::int64_t kRepeatedAllowance = 256 * kMegabyte;

// Large enough for a few bytes an entry to show.
constexpr std::int64_t kLarge = 64 * kMegabyte;

// What an entry of 12 bytes may cost once a name was looked for: 36.
constexpr std::int64_t kMemoryOfAnEntry = 3;

const Image kThree = {{"a", "\x01\x02\x03"}, {"second", "data of b"}, {"", "nameless"}};
constexpr std::size_t kThreeDirectory = 12 + 3 * 12 + 1 + 6;

TEST_F(MultisectionDamageTest, EmptyFile) {
  WriteWholeFile(file_, "");
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                        "Invalid file type");
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessUpdate),
                        "Invalid file type");
}

TEST_F(MultisectionDamageTest, WrongTag) {
  for (std::size_t i = 0; i < 4; ++i) {
    std::string bytes = BuildImage(kThree);
    bytes[i] = static_cast<char>(bytes[i] + 1);
    WriteWholeFile(file_, bytes);
    EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                          "Invalid file type");
  }
}

TEST_F(MultisectionDamageTest, VersionTwoIsRejectedBeforeTheCountIsRead) {
  WriteWholeFile(file_, ImageHeader(0).substr(0, 4) + ImageInt(2));
  EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                        "Unsupported file format");
}

TEST_F(MultisectionDamageTest, WrongVersions) {
  for (const std::int64_t version : {0, 2, -1, 256, 1 << 24}) {
    WriteWholeFile(file_, ImageHeader(0).substr(0, 4) + ImageInt(version) + ImageInt(0));
    EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                          "Unsupported file format");
  }
}

TEST_F(MultisectionDamageTest, EveryTruncation) {
  const std::string whole = BuildImage(kThree);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE("cut to " + std::to_string(size));
    WriteWholeFile(file_, whole.substr(0, size));
    if (size < 4) {
      EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                            "Invalid file type");
    } else if (size < 8) {
      EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                            "Unsupported file format");
    } else if (size < kThreeDirectory) {
      EXPECT_END_OF_FILE(utl_MultisectionFile(path_, utl_FileAccessRead));
    } else {
      utl_MultisectionFile file(path_, utl_FileAccessRead);
      std::size_t end = kThreeDirectory;
      for (const ImageSection& section : kThree) {
        end += section.data.size();
        if (end <= size) {
          EXPECT_EQ(Get(file, section.name), section.data);
        } else {
          EXPECT_END_OF_FILE(Get(file, section.name));
        }
      }
    }
  }
}

TEST_F(MultisectionDamageTest, SectionCountBeyondTheFile) {
  const std::int64_t before = PeakMemory();
  WriteWholeFile(file_, ImageHeader(kMaxInt) + ImageEntry({"a", "1"}) + "1");
  EXPECT_END_OF_FILE(utl_MultisectionFile(path_, utl_FileAccessRead));
  EXPECT_LT(PeakMemory() - before, kMemoryAllowance);
}

// Zeros are entries without name and data.
TEST_F(MultisectionDamageTest, SectionCountBeyondAFileOfZerosCostsNoMemory) {
  WriteZeros(ImageHeader(kMaxInt), kLarge);
  const std::int64_t before = PeakMemory();
  EXPECT_END_OF_FILE(utl_MultisectionFile(path_, utl_FileAccessRead));
  EXPECT_LT(PeakMemory() - before, kMemoryAllowance);
}

TEST_F(MultisectionDamageTest, DirectoryOfZerosCostsThreeTimesTheSizeOfTheFile) {
  const std::int64_t count = (kLarge - 12) / 12;
  WriteZeros(ImageHeader(count), 12 + 12 * count);
  const std::int64_t before = PeakMemory();
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(file.getSectionLength(""), 0);
  EXPECT_FALSE(file.hasSection("a"));
  EXPECT_CONTENTS_ERROR(Get(file, ""), "Data corrupted in section \"\"");
  EXPECT_LT(PeakMemory() - before, kMemoryOfAnEntry * kLarge + kMemoryAllowance);
}

TEST_F(MultisectionDamageTest, NegativeSectionCountReadsAsNoEntries) {
  for (const std::int64_t count : {std::int64_t{-1}, -kMaxInt - 1}) {
    WriteWholeFile(file_, ImageHeader(count) + ImageEntry({"a", "1"}) + "1");
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    EXPECT_FALSE(file.hasSection("a"));
    file.saveChanges();
    EXPECT_EQ(ReadWholeFile(file_), ImageHeader(0));
  }
}

TEST_F(MultisectionDamageTest, NegativeNameLength) {
  for (const std::int64_t length : {std::int64_t{-1}, -kMaxInt - 1}) {
    WriteWholeFile(file_, ImageHeader(1) + ImageInt(length) + std::string(100, 'x'));
    EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                          "Invalid string length");
  }
}

TEST_F(MultisectionDamageTest, NameLengthBeyondTheFile) {
  for (const std::int64_t size : {std::int64_t{100}, kLarge}) {
    WriteZeros(ImageHeader(1) + ImageInt(kMaxInt), size);
    const std::int64_t before = PeakMemory();
    EXPECT_END_OF_FILE(utl_MultisectionFile(path_, utl_FileAccessRead));
    EXPECT_LT(PeakMemory() - before, kMemoryAllowance);
  }
}

TEST_F(MultisectionDamageTest, HugeNameCostsTheSizeOfTheFile) {
  WriteZeros(ImageHeader(1) + ImageInt(kLarge), 12 + 12 + kLarge);
  const std::int64_t before = PeakMemory();
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(file.getSectionLength(""), 0);
  EXPECT_LT(PeakMemory() - before, kLarge + kMemoryAllowance);
}

TEST_F(MultisectionDamageTest, SeveralNamesCostTheirSize) {
  constexpr std::int64_t kName = kLarge / 2;
  constexpr std::int64_t kEntry = 12 + kName;
  WriteZeros(ImageHeader(2) + ImageInt(kName), 12 + 2 * kEntry);
  std::fstream(file_, std::ios::in | std::ios::out | std::ios::binary).seekp(12 + kEntry)
      << ImageInt(kName);
  const std::int64_t before = PeakMemory();
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(file.getSectionLength(""), 0);
  EXPECT_LT(PeakMemory() - before, kLarge + kMemoryAllowance);
}

// The first entry ends with the longest file, or a byte later.
TEST_F(MultisectionDamageTest, DirectoryBeyondTheLimitOfAFileTakesNoMemory) {
  const std::int64_t before = PeakMemory();
  const std::string two = ImageHeader(2) + ImageInt(kMaxInt - 24);
  WriteZeros(two, kMaxInt);
  EXPECT_END_OF_FILE(utl_MultisectionFile(path_, utl_FileAccessRead));
  for (const std::string& head : {two, ImageHeader(1) + ImageInt(kMaxInt - 23)}) {
    WriteZeros(head, kMaxInt + 12);
    EXPECT_CONTENTS_ERROR(utl_MultisectionFile(path_, utl_FileAccessRead),
                          "Total size exceeds 2147483647 bytes");
  }
  EXPECT_LT(PeakMemory() - before, kMemoryAllowance);
}

// The checksum of no bytes does not excuse it.
TEST_F(MultisectionDamageTest, NegativeDataLengthIsFoundWhenTheDataIsRead) {
  WriteWholeFile(file_, ImageHeader(2) + ImageInt(1) + "a" + ImageInt(-1) +
                            ImageInt(0xFFFFFFFF) + ImageEntry({"b", "22"}) + "22");
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(file.getSectionLength("a"), -1);
  char buffer[] = "as is";
  EXPECT_CONTENTS_ERROR(file.getSectionData("a", buffer),
                        "Data corrupted in section \"a\"");
  EXPECT_STREQ(buffer, "as is");
  EXPECT_EQ(file.getSectionLength("b"), 2);
}

// The length is carried along as it is, so the section behind stays misplaced.
TEST_F(MultisectionDamageTest, NegativeDataLengthIsCarriedAlongByASave) {
  const std::string entry = ImageInt(1) + "a" + ImageInt(-2) + ImageInt(0);
  WriteWholeFile(file_, ImageHeader(1) + entry);
  utl_MultisectionFile file(path_, utl_FileAccessUpdate);
  Set(file, "b", "22");
  file.saveChanges();
  EXPECT_EQ(Get(file, "b"), "22");
  EXPECT_EQ(ReadWholeFile(file_),
            ImageHeader(2) + entry + ImageEntry({"b", "22"}) + "22");
  utl_MultisectionFile again(path_, utl_FileAccessRead);
  EXPECT_CONTENTS_ERROR(Get(again, "b"), "Data corrupted in section \"b\"");
}

TEST_F(MultisectionDamageTest, PlaceBeforeTheFileIsASeekError) {
  WriteWholeFile(file_, ImageHeader(2) + ImageInt(1) + "a" + ImageInt(-kMaxInt) +
                            ImageInt(0) + ImageEntry({"b", "22"}) + "22");
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_THROW_TEXT(Get(file, "b"), utl_FileExceptionSeek,
                    utl_FileExceptionSeek(131, path_, "SetFilePointer").AsString());
}

TEST_F(MultisectionDamageTest, DataLengthBeyondTheFile) {
  WriteWholeFile(
      file_, ImageHeader(1) + ImageInt(1) + "a" + ImageInt(1000) + ImageInt(0) + "123");
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_EQ(file.getSectionLength("a"), 1000);
  EXPECT_END_OF_FILE(Get(file, "a"));
}

TEST_F(MultisectionDamageTest, PlacesBeyondFourGigabytes) {
  WriteWholeFile(file_, ImageHeader(4) + ImageInt(1) + "a" + ImageInt(kMaxInt) +
                            ImageInt(0) + ImageInt(1) + "b" + ImageInt(kMaxInt) +
                            ImageInt(0) + ImageInt(1) + "c" + ImageInt(kMaxInt) +
                            ImageInt(0) + ImageEntry({"d", "x"}) + "x");
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_END_OF_FILE(Get(file, "d"));
}

TEST_F(MultisectionDamageTest, ChangedDataByteIsReportedAfterTheBufferIsFilled) {
  std::string bytes = BuildImage({{"a", "abc"}});
  bytes[bytes.size() - 2] = 'X';
  WriteWholeFile(file_, bytes);
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  char buffer[4] = "";
  EXPECT_CONTENTS_ERROR(file.getSectionData("a", buffer),
                        "Data corrupted in section \"a\"");
  EXPECT_STREQ(buffer, "aXc");
}

TEST_F(MultisectionDamageTest, WrongChecksumOfAnEmptySection) {
  WriteWholeFile(file_, ImageHeader(1) + ImageInt(1) + "a" + ImageInt(0) + ImageInt(0));
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_CONTENTS_ERROR(Get(file, "a"), "Data corrupted in section \"a\"");
}

TEST_F(MultisectionDamageTest, NameInTheMessageIsNotTakenForATemplate) {
  std::string bytes = BuildImage({{"100%s %1$s", "abc"}});
  bytes.back() = 'X';
  WriteWholeFile(file_, bytes);
  utl_MultisectionFile file(path_, utl_FileAccessRead);
  EXPECT_CONTENTS_ERROR(Get(file, "100%s %1$s"),
                        "Data corrupted in section \"100%s %1$s\"");
}

TEST_F(MultisectionDamageTest, DamageIsCopiedUnseenAndStillDetectedAfterASave) {
  std::string bytes = BuildImage({{"a", "abc"}, {"b", "old"}});
  bytes[bytes.size() - 5] = 'X';  // in "abc"
  for (const Save save : kSaves) {
    WriteWholeFile(file_, bytes);
    utl_MultisectionFile file(path_, utl_FileAccessUpdate);
    Set(file, "b", "new");
    (file.*save)();
    EXPECT_EQ(Get(file, "b"), "new");
    EXPECT_CONTENTS_ERROR(Get(file, "a"), "Data corrupted in section \"a\"");
    Set(file, "a", "abc");
    (file.*save)();
    EXPECT_EQ(Get(file, "a"), "abc");
  }
}

TEST_F(MultisectionDamageTest, EveryFlippedDataByteIsDetected) {
  const std::string whole = BuildImage(kThree);
  for (std::size_t i = kThreeDirectory; i < whole.size(); ++i) {
    for (const int mask : {0x01, 0x80, 0xFF}) {
      std::string bytes = whole;
      bytes[i] = static_cast<char>(bytes[i] ^ mask);
      WriteWholeFile(file_, bytes);
      utl_MultisectionFile file(path_, utl_FileAccessRead);
      std::size_t end = kThreeDirectory;
      for (const ImageSection& section : kThree) {
        const std::size_t begin = end;
        end += section.data.size();
        if (begin <= i && i < end) {
          EXPECT_CONTENTS_ERROR(Get(file, section.name),
                                "Data corrupted in section \"" + section.name + "\"");
        } else {
          EXPECT_EQ(Get(file, section.name), section.data);
        }
      }
    }
  }
}

// Reads all that is there, and saves; any text exception will do.
void UseDamagedFile(const cow_String& path, std::size_t fileSize) {
  utl_MultisectionFile file(path, utl_FileAccessUpdate);
  for (const char* name : {"a", "second", ""}) {
    if (!file.hasSection(name)) {
      continue;
    }
    const int length = file.getSectionLength(name);
    std::string data(static_cast<std::size_t>(std::max(length, 0)) % (2 * fileSize), '?');
    if (static_cast<std::size_t>(length) == data.size()) {
      try {
        file.getSectionData(name, data.data());
      } catch (const nex_TextException&) {
      }
    }
  }
  file.saveChanges();
}

TEST_F(MultisectionDamageTest, FlippedHeaderBytesNeverCrashOrTakeMuchMemory) {
  const std::string whole = BuildImage(kThree);
  const std::int64_t before = PeakMemory();
  for (std::size_t i = 0; i < kThreeDirectory; ++i) {
    for (const int mask : {0x01, 0x40, 0x80, 0xFF}) {
      std::string bytes = whole;
      bytes[i] = static_cast<char>(bytes[i] ^ mask);
      WriteWholeFile(file_, bytes);
      try {
        UseDamagedFile(path_, bytes.size());
      } catch (const nex_TextException&) {
      }
      ASSERT_EQ(OtherFiles(), "") << "byte " << i << ", mask " << mask;
    }
  }
  EXPECT_LT(PeakMemory() - before, kRepeatedAllowance);
}

}  // namespace
