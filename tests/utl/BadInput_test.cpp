// Names that nobody means well: endless ones, and bytes that are no UTF-8.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/expect/ExpectThrow.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "nex/nex_SystemErrorException.h"
#include "rgx/rgx_funcs.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_DirPathUtils.h"
#include "utl/utl_File.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_Stat.h"
#include "utl/utl_TempFile.h"
#include "utl/utl_TrackedFile.h"

namespace {

constexpr int kTooLong = 206;  // the system's number for a name that is too long

std::string Endless(const std::string& part) {
  std::string path;
  while (path.size() < 1000000) {
    path += part;
  }
  return path + "a";
}

class EndlessPathTest : public testing::TestWithParam<const char*> {
 protected:
  static atr_String OpenText(const std::string& path, const char* operation) {
    return utl_FileExceptionOpen(kTooLong, path, operation).AsString();
  }

  const std::string path_ = Endless(GetParam());
};

TEST_P(EndlessPathTest, IsNoFile) {
  for (const utl_FileAccess access :
       {utl_FileAccessRead, utl_FileAccessUpdate, utl_FileAccessWrite}) {
    const char* const operations[] = {
        "CreateFile in OpenRead", "CreateFile in OpenUpdate", "CreateFile in OpenWrite"};
    const atr_String text = OpenText(path_, operations[access]);
    EXPECT_THROW_TEXT(utl_File(path_, access, utl_FileShareDefault).Init(),
                      utl_FileExceptionOpen, text);
    EXPECT_THROW_TEXT(utl_TrackedFile(path_, access, utl_FileShareDefault).Init(),
                      utl_FileExceptionOpen, text);
    EXPECT_THROW_TEXT(utl_MultisectionFile(path_, access), utl_FileExceptionOpen, text);
  }
}

TEST_P(EndlessPathTest, HasNoStatus) {
  try {
    const utl_Stat status(path_);
    FAIL() << status.size;
  } catch (const nex_SystemErrorException& refusal) {
    EXPECT_EQ(refusal.ErrorCode().Code(), kTooLong);
  }
}

TEST_P(EndlessPathTest, IsNothing) {
  const utl_FilePath path(path_, "");
  EXPECT_FALSE(path.Exists());
  EXPECT_FALSE(path.IsReadable());
  EXPECT_FALSE(path.IsWriteable());
  EXPECT_FALSE(path.IsDir());
  EXPECT_EQ(path.FileName(), path_.substr(path_.rfind('/') + 1));
  EXPECT_FALSE(utl_DirPathUtils::CheckDirectory(path_));
  EXPECT_EQ(utl_DirObject(path).GetAllEntries().Length(), 0);
}

TEST_P(EndlessPathTest, HasANativeForm) {
  EXPECT_EQ(utl_fromNativePath(utl_nativePath(path_)).Length(),
            static_cast<int>(path_.size()));
}

INSTANTIATE_TEST_SUITE_P(Parts, EndlessPathTest, testing::Values("a", "a/"),
                         [](const auto& part) {
                           return part.param == std::string("a") ? "OneName" : "Many";
                         });

// As file names Windows has them in the ANSI code page, where each of them is a
// character.
class BytesTest : public testing::TestWithParam<const char*> {
 protected:
  const std::string bytes_ = GetParam();
  const TempDir dir_;
  const CurrentDirectory current_{dir_.Path()};
};

TEST_P(BytesTest, NameFiles) {
  EXPECT_THROW_TEXT(utl_File(bytes_, utl_FileAccessRead, utl_FileShareDefault).Init(),
                    utl_FileExceptionNoFile,
                    utl_FileExceptionNoFile(bytes_, "in OpenRead").AsString());
  utl_File(bytes_, utl_FileAccessWrite, utl_FileShareDefault).Write("abc", 3);
  EXPECT_EQ(utl_Stat(bytes_).size, 3);
  EXPECT_TRUE(utl_FilePath(bytes_, "").IsReadable());
  std::string text;
  std::ifstream(utl_nativePath(bytes_)) >> text;
  EXPECT_EQ(text, "abc");
  EXPECT_EQ(utl_fromNativePath(utl_nativePath(bytes_)), bytes_);
}

TEST_P(BytesTest, AreListed) {
  utl_File(bytes_, utl_FileAccessWrite, utl_FileShareDefault).Init();
  std::vector<std::string> names;
  for (const utl_FilePath& file :
       utl_DirObject(std::filesystem::current_path()).GetAllFileNames()) {
    names.emplace_back(file.FileName());
  }
  EXPECT_EQ(names, std::vector<std::string>{bytes_});
}

TEST_P(BytesTest, NameSections) {
  {
    utl_MultisectionFile file(bytes_ + ".kdb", utl_FileAccessWrite);
    file.setSection<int>(bytes_, std::vector<int>{7});
    file.saveChangesAtomically();
  }
  utl_MultisectionFile file(bytes_ + ".kdb", utl_FileAccessRead);
  EXPECT_EQ(file.getSection<int>(bytes_), std::vector<int>{7});
  EXPECT_EQ(file.getSections()[0].name, bytes_);
  EXPECT_THROW_TEXT(file.getSection<double>(bytes_), nex_TextException,
                    "\"" + bytes_ + ".kdb\": Section \"" + bytes_ +
                        "\" has 4 bytes, which is no whole number of values of 8 bytes");
}

TEST_P(BytesTest, AreMatched) {
  EXPECT_EQ(rgx_match("^(..)", bytes_).NthString(1), bytes_.substr(0, 2));
}

INSTANTIATE_TEST_SUITE_P(Rows, BytesTest,
                         testing::Values("\xff\xfe.dat", "\xc3(", "a\x80z", "\xe4\xf6"),
                         [](const auto& row) {
                           return "Row" + std::to_string(row.index);
                         });

TEST(EndlessNameTest, IsGoodForASection) {
  const TempDir dir;
  const std::string name = Endless("ab ");
  {
    utl_MultisectionFile file(dir.File("a.kdb"), utl_FileAccessWrite);
    file.setSectionData(name, "1", 1);
    file.saveChanges();
  }
  EXPECT_EQ(
      utl_MultisectionFile(dir.File("a.kdb"), utl_FileAccessRead).getSections()[0].name,
      name);
}

}  // namespace
