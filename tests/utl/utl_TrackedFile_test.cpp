#include "utl/utl_TrackedFile.h"

#include <string>

#include "common/expect/ExpectThrow.h"
#include "utl/tracker/TrackerTest.h"

namespace {

class TrackedFileTest : public IOTrackerTest {
 protected:
  const std::string path_ = File("a.dat");
};

TEST_F(TrackedFileTest, ReportsWhatItDoes) {
  utl_IOTracker& tracker = StartTracker("3");
  {
    utl_TrackedFile file(path_, utl_FileAccessWrite, utl_FileShareDefault);
    EXPECT_EQ(tracker.CCount(), 0) << "it is not open yet";
    EXPECT_EQ(file.Write("abcdef", 6), 6);
    EXPECT_EQ(file.WriteShortAllowed("gh", 2), 2);
    file.Seek(2);
    char bytes[3] = {};
    EXPECT_EQ(file.Read(bytes, 3), 3);
    EXPECT_EQ(std::string(bytes, 3), "cde");
    EXPECT_EQ(file.Location(), 5);
    EXPECT_EQ(file.FileSize(), 8);
    file.Flush();
    file.Extend(10);
  }
  EXPECT_EQ(ReadWholeFile(path_), std::string("abcdefgh\0\0", 10));
  EXPECT_EQ(tracker.CCount(), 1);
  EXPECT_EQ(tracker.CPath(0), path_);
  const utl_IOTrackerRecord record = Totals(tracker, path_);
  EXPECT_EQ(record.writeCount, 2);
  EXPECT_EQ(record.bytesWritten, 8);
  EXPECT_EQ(record.readCount, 1);
  EXPECT_EQ(record.bytesRead, 3);
  EXPECT_EQ(record.seeks, 1);
  EXPECT_EQ(record.opens, 2) << "once here, once to ask";
}

TEST_F(TrackedFileTest, EveryOperationThatOpensReportsSo) {
  WriteWholeFile(path_, "abcd");
  const auto opens = [&](auto operation) {
    utl_IOTracker& tracker = StartTracker("3");
    {
      utl_TrackedFile file(path_, utl_FileAccessUpdate, utl_FileShareDefault);
      operation(file);
    }
    EXPECT_EQ(tracker.CCount(), 1);
    return Totals(tracker, path_).opens - 1;  // but the question's own
  };
  char byte = 0;
  EXPECT_EQ(opens([](utl_TrackedFile& file) { file.Init(); }), 1);
  EXPECT_EQ(opens([](utl_TrackedFile& file) { file.Seek(1); }), 1);
  EXPECT_EQ(opens([](utl_TrackedFile& file) { file.Location(); }), 1);
  EXPECT_EQ(opens([](utl_TrackedFile& file) { file.Flush(); }), 1);
  EXPECT_EQ(opens([](utl_TrackedFile& file) { file.FileSize(); }), 1);
  EXPECT_EQ(opens([](utl_TrackedFile& file) { file.Extend(4); }), 1);
  EXPECT_EQ(opens([&](utl_TrackedFile& file) { file.Read(&byte, 1); }), 1);
  EXPECT_EQ(opens([&](utl_TrackedFile& file) { file.Write(&byte, 1); }), 1);
  EXPECT_EQ(opens([&](utl_TrackedFile& file) { file.WriteShortAllowed(&byte, 1); }), 1);
}

TEST_F(TrackedFileTest, ClosingRetiresTheKey) {
  utl_IOTracker& tracker = StartTracker("1");
  std::int64_t key = 0;
  utl_IOTrackerRecord record;
  {
    utl_TrackedFile file(path_, utl_FileAccessWrite, utl_FileShareDefault);
    file.Init();
    key = reinterpret_cast<std::intptr_t>(&file);
    EXPECT_TRUE(tracker.CTotals(key, record));
  }
  EXPECT_FALSE(tracker.CTotals(key, record));
}

TEST_F(TrackedFileTest, OpenedByOpenAndOpenedAgainKeepsItsFile) {
  utl_IOTracker& tracker = StartTracker("1");
  utl_TrackedFile file;
  file.Open(path_, utl_FileAccessWrite, utl_FileShareReadWrite);
  file.Open(File("other"), utl_FileAccessWrite, utl_FileShareReadWrite);
  file.Write("a", 1);
  EXPECT_EQ(tracker.CCount(), 1);
  EXPECT_EQ(tracker.CPath(0), path_);
  EXPECT_EQ(ReadWholeFile(path_), "a");
  EXPECT_FALSE(Exists("other"));
}

TEST_F(TrackedFileTest, FailuresAreThoseOfTheFileAndNotReported) {
  utl_IOTracker& tracker = StartTracker("1");
  utl_TrackedFile absent(path_, utl_FileAccessRead, utl_FileShareDefault);
  char byte = 0;
  EXPECT_THROW(absent.Read(&byte, 1), utl_FileExceptionNoFile);
  EXPECT_THROW_FROM(absent.Write(&byte, 1), utl_FileExceptionWrite,
                    ("*** Error: Write failed (utl_File: attempt to write to a "
                     "read-only file.)\nfile name: " +
                     path_)
                        .c_str(),
                    "utl/impl/utl_File");
  EXPECT_EQ(tracker.CCount(), 0);
}

TEST_F(TrackedFileTest, WithoutATrackerIsAFile) {
  {
    utl_TrackedFile file(path_, utl_FileAccessWrite, utl_FileShareDefault);
    file.Write("abc", 3);
    file.Seek(1);
    file.Write("x", 1);
  }
  EXPECT_EQ(ReadWholeFile(path_), "axc");
  EXPECT_EQ(TrackerHolder::Instance().Tracker(), nullptr);
}

}  // namespace
