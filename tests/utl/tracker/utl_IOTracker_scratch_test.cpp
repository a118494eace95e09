// Which files are the scratch directory's.

#include <gtest/gtest.h>

#include <string>

#include "utl/tracker/TrackerTest.h"

namespace {

class IOTrackerScratchTest : public IOTrackerTest {
 protected:
  // The kind of a file opened under `path`.
  static int KindOf(utl_IOTracker& tracker, const std::string& path) {
    tracker.COpen(1, path.c_str());
    tracker.UOpen(1, path.c_str());
    EXPECT_EQ(tracker.CKind(1), tracker.UKind(1));
    return tracker.CKind(1);
  }

  static int KindOf(const std::string& scratch, const std::string& path) {
    LoadArguments({"-tmpdir", scratch});
    return KindOf(StartTracker("1"), path);
  }
};

TEST_F(IOTrackerScratchTest, FilesBelowTheScratchDirectory) {
  const struct {
    const char* scratch;
    const char* path;
    bool isScratch;
  } cases[] = {
      {"/scratch", "/scratch/f", true},
      {"/scratch", "/scratch/d/e/f", true},
      {"/scratch/", "/scratch/f", true},
      {"/scratch", "/scratch", false},
      {"/scratch", "/scratch/", false},
      {"/scratch", "/scratch2/f", false},
      {"/scratch", "/scratc/f", false},
      {"/scratch", "/jobs/scratch/f", false},
      {"/scratch", "f", false},
      {"/scratch", "", false},
      // Separators, drives and letter case.
      {"/scratch", "\\scratch\\f", true},
      {"\\scratch\\", "/scratch//f", true},
      {"/scratch", "Z:\\scratch\\f", true},
      {"Z:/scratch", "/scratch/f", true},
      {"z:\\Scratch", "Z:/sCRATCH/F", true},
      {"/scratch", "C:\\scratch\\f", false},
      {"C:\\scratch", "c:/scratch/f", true},
      {"/\xC4", "/\xE4/f", false},
      {"/\xC4", "/\xC4/f", true},
      // "." and "..".
      {"/scratch", "/scratch/./f", true},
      {"/scratch", "/scratch/../f", false},
      {"/scratch", "/scratch/d/../f", true},
      {"/scratch", "/jobs/../scratch/f", true},
      {"/a/../scratch/.", "/scratch/f", true},
      {"/scratch", "/../../scratch/f", true},
      {"/scratch", "/scratch/.../f", true},
      {"/scratch", "/scratch/..", false},
      // Roots and short names.
      {"/", "/f", true},
      {"/", "f", true},
      {"/", "C:\\f", false},
      {"Z:\\", "/f", true},
      {"/s", "/s/f", true},
      {"/s", "/f", false},
      // Hosts.
      {"\\\\host\\share", "\\\\HOST\\share\\f", true},
      {"\\\\host\\share", "//host/share/d/f", true},
      {"\\\\host\\share", "\\\\host\\share2\\f", false},
      {"\\\\host\\share", "/host/share/f", false},
      // What looks like a variable is a name.
      {"/scratch$HOME", "/scratch$HOME/f", true},
      {"/%TEMP%", "/%TEMP%/f", true},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(KindOf(one.scratch, one.path), one.isScratch ? 0 : 1)
        << one.scratch << " and " << one.path;
  }
}

TEST_F(IOTrackerScratchTest, RelativeNamesAreTakenFromTheCurrentDirectory) {
  std::filesystem::create_directories(File("d/e"));
  const std::string here = surroundings_.Dir().Path();
  const std::string shown = surroundings_.Dir().ShownPath();
  EXPECT_EQ(KindOf(here, "f"), 0);
  EXPECT_EQ(KindOf(shown, "d/f"), 0);
  EXPECT_EQ(KindOf(here, "../f"), 1);
  EXPECT_EQ(KindOf(".", "f"), 0);
  EXPECT_EQ(KindOf("d", "d\\f"), 0);
  EXPECT_EQ(KindOf("d", "f"), 1);
  EXPECT_EQ(KindOf("d", here + "/d/f"), 0);
  EXPECT_EQ(KindOf("d", "Z:d\\f"), 0);
  EXPECT_EQ(KindOf("Z:d", "D/f"), 0);
}

// The directory's is that of the tracker's making, a file's that of its opening.
TEST_F(IOTrackerScratchTest, CurrentDirectoryOfTheMoment) {
  std::filesystem::create_directories(File("d/d"));
  LoadArguments({"-tmpdir", "d"});
  utl_IOTracker& tracker = StartTracker("1");
  std::filesystem::current_path(File("d"));
  EXPECT_EQ(KindOf(tracker, "f"), 0);
  EXPECT_EQ(KindOf(tracker, "../d/g"), 0);
  std::filesystem::current_path(File("d/d"));
  EXPECT_EQ(KindOf(tracker, "../../h"), 1);
}

TEST_F(IOTrackerScratchTest, DriveThatIsNotThereHoldsNothing) {
  EXPECT_EQ(KindOf("Q:d", "Q:d\\f"), 1);
  EXPECT_EQ(KindOf("Q:d", "f"), 1);
  EXPECT_EQ(KindOf("/", "Q:f"), 1);
}

TEST_F(IOTrackerScratchTest, WithoutTheOptionAllIsWork) {
  EXPECT_EQ(KindOf(StartTracker("1"), "/tmp/f"), 1);
}

TEST_F(IOTrackerScratchTest, OptionWithoutValueIsNoDirectory) {
  LoadArguments({"-tmpdir"});
  utl_IOTracker& tracker = StartTracker("1");
  EXPECT_EQ(KindOf(tracker, "f"), 1);
  EXPECT_EQ(KindOf(tracker, "/f"), 1);
}

TEST_F(IOTrackerScratchTest, NameIsCutAt2048Characters) {
  std::string scratch = "/";
  while (scratch.size() < 2045) {
    scratch += "d/";
  }
  scratch += "eee";
  ASSERT_EQ(scratch.size(), 2048U);
  EXPECT_EQ(KindOf(scratch, scratch + "/f"), 0);
  EXPECT_EQ(KindOf(scratch + "more", scratch + "/f"), 0);
  EXPECT_EQ(KindOf(scratch + "/more", scratch + "/f"), 0);
  EXPECT_EQ(KindOf(scratch + "more", scratch + "more/f"), 1);
  EXPECT_EQ(KindOf(scratch.substr(0, 2047), scratch + "/f"), 1);
}

// The whole path tells, whatever the entry keeps of it.
TEST_F(IOTrackerScratchTest, LongPaths) {
  const std::string directory = "/" + std::string(1100, 's');
  EXPECT_EQ(KindOf(directory, directory + "/f"), 0);
  EXPECT_EQ(KindOf(directory, directory + "2/f"), 1);
}

}  // namespace
