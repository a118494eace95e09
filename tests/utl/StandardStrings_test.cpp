// Paths, names and subjects as std::string, wherever the library takes one.

#include <gtest/gtest.h>

#include <string>

#include "aio/aio_ofstream.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/temp/TempDir.h"
#include "rgx/rgx_funcs.h"
#include "typ/typ_DebugFlags.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_DirPathUtils.h"
#include "utl/utl_File.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_FilePathParser.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_PathFinder.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_Stat.h"
#include "utl/utl_UrlParser.h"

namespace {

class StandardStringTest : public testing::Test {
 protected:
  std::string Path(const char* name) const { return dir_.File(name); }

  TempDir dir_;
};

TEST_F(StandardStringTest, NameFiles) {
  const std::string path = Path("a.txt");
  utl_File file(path, utl_FileAccessWrite, utl_FileShareDefault);
  file.Write("abc", 3);
  EXPECT_EQ(utl_Stat(path).size, 3U);
  utl_File other;
  other.Open(path, utl_FileAccessRead, utl_FileShareReadWrite);
  char byte = 0;
  EXPECT_EQ(other.Read(&byte, 1), 1);
  aio_ofstream out(Path("b.txt"));
  out.write("x", 1);
  out.close();
  EXPECT_EQ(ReadWholeFile(Path("b.txt")), "x");
}

TEST_F(StandardStringTest, NameSections) {
  const std::string name = "loads";
  utl_MultisectionFile file(Path("job.kdb"), utl_FileAccessWrite);
  file.setSectionData(name, "abc", 3);
  EXPECT_TRUE(file.hasSection(name));
  EXPECT_EQ(file.getSectionLength(name), 3);
  char data[3] = {};
  file.getSectionData(name, data);
  EXPECT_EQ(std::string(data, 3), "abc");
}

TEST_F(StandardStringTest, NamePaths) {
  WriteWholeFile(Path("a.txt"), "");
  const std::string name = "a.txt", directory = dir_.Path();
  utl_FilePath path(name, directory);
  EXPECT_TRUE(path.Exists());
  path.SetFilePath(std::string("b.txt"), directory);
  EXPECT_FALSE(path.Exists());
  EXPECT_EQ(utl_FilePathParser::BaseName(name), "a");
  EXPECT_TRUE(utl_DirPathUtils::CheckDirectory(directory));
  EXPECT_EQ(utl_PathFinder::getPath(std::string("KST_UNSET"), name, true, true, true),
            "");
  const utl_DirObject listing(utl_FilePath(directory, std::string()));
  EXPECT_EQ(listing.PrefixMatchFilenames(std::string("a.")).Length(), 1);
  EXPECT_EQ(listing.FindFileNamesWithExtension(std::string(".txt")).Length(), 1);
}

TEST_F(StandardStringTest, AreSubjectsAndPatterns) {
  const std::string pattern = "(b+)", subject = "abbc";
  EXPECT_EQ(rgx_match(pattern, subject).NthString(1), "bb");
  EXPECT_EQ(rgx_split(pattern, subject).Length(), 2);
  EXPECT_EQ(rgx_subn(pattern, std::string("-"), subject, 1), "a-c");
  EXPECT_TRUE(utl_UrlParser::IsUrl(std::string("kstrdb:x")));
}

TEST_F(StandardStringTest, NameOptionsFlagsAndLogs) {
  EXPECT_FALSE(thr_GlobalSingleton<utl_CommandLine>::Instance().IsMember(
      std::string("no_such_option")));
  typ_DebugFlags::SetDebugFlags(std::string("kst_test"), 2);
  EXPECT_EQ(typ_DebugFlags::Level(std::string("kst_test")), 2);
  typ_DebugFlags::Clear();
  const ScopedEnvironment on("KES_RESOURCE_MONITOR", "ON");
  auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
  monitor.Initialize(Path("job"));
  monitor.Mark(std::string("label"));
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  EXPECT_NE(ReadWholeFile(Path("job.use")).find("label"), std::string::npos);
}

}  // namespace
