// Everything that any thread may use, by several at once: objects that are one per
// process, caches, and functions of all rooms. The thread sanitizer looks on.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "common/thread/FunctionTask.h"
#include "common/thread/StartLine.h"
#include "omi/omi_SystemErrorCode.h"
#include "rgx/rgx_funcs.h"
#include "typ/typ_DebugFlags.h"
#include "utl/utl_base64.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_File.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_FilePathParser.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_initialize.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_Phase.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_UrlParser.h"

namespace {

constexpr int kThreads = 6;

// Runs the work in threads that begin together; each is given its number.
void InThreads(const std::function<void(int)>& work) {
  StartLine start(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      start.Wait();
      work(i);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// What needs nothing but its arguments. Whether all results are right.
bool UseFunctions() {
  const cow_String url("kstrdb://me@node-7:4000/db/f?x=1");
  cow_String bytes("a text to be encoded");
  cow_String text = utl_base64Encode(bytes, true);
  return utl_UrlParser::IsUrl(url) && utl_UrlParser::GetHost(url) == "node-7" &&
         utl_UrlParser::GetPort(url) == "4000" && utl_UrlParser::GetPath(url) == "db/f" &&
         utl_FilePathParser::BaseName("C:\\dir\\file.txt") == "file" &&
         rgx_subn("(a|b)=", "<$1>", "a=1 b=2", 9) == "<a>1 <a>2" &&
         utl_FilePath("sub/f.txt", "Z:\\x").AbsolutePathName() == "Z:\\x\\sub\\f.txt" &&
         utl_base64Decode(text, true) == bytes && !utl_getDate().IsEmpty() &&
         !omi_SystemErrorCode(omi_SystemErrorCode::kSystem, 2).Text().empty();
}

// What all threads share: the command line, the tracker, the pool, the flags.
bool UseSharedObjects(int number) {
  const utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
  utl_IOTracker* const tracker =
      thr_GlobalSingleton<utl_IOTracker_Container>::Instance().Tracker();
  tracker->COpen(number, "file");
  tracker->CWrite(number, 100, 0.5);
  utl_IOTracker_Mark("mark");
  tracker->CClose(number);
  thr_GlobalSingleton<thr_ThreadPool>::Instance().RunTask(
      FunctionTask::Of([] { UseFunctions(); }));
  typ_DebugFlags::SetDebugFlags("flag" + std::to_string(number), number);
  return !line.IsMember("missing") &&
         typ_DebugFlags::Level("flag" + std::to_string(number)) == number;
}

// Files of the thread's own in a directory that all share.
bool UseFiles(const TempDir& dir, int number) {
  const cow_String path = dir.File("sections" + std::to_string(number)).c_str();
  const std::vector<int> values = {1, 2, number};
  utl_MultisectionFile file(path, utl_FileAccessWrite);
  file.setSection<int>("values", values);
  file.saveChangesAtomically();
  const utl_DirObject listing(utl_FilePath(cow_String(dir.Path()), ""));
  return file.getSection<int>("values") == values &&
         listing.GetAllEntries().Length() > 0 && utl_FilePath(path, "").Exists();
}

class RacesTest : public testing::Test {
 protected:
  // Whoever opened a file for writing before has made the holder, without a tracker.
  RacesTest() { thr_GlobalSingleton<utl_IOTracker_Container>::Destroy(); }

  TempDir dir_;
  CurrentDirectory current_{dir_.Path()};
  ScopedEnvironment track_{"KES_IO_TRACK", "2"};
  ScopedEnvironment monitor_{"KES_RESOURCE_MONITOR", "ON"};
};

// The main thread marks meanwhile.
TEST_F(RacesTest, ThreadsUseEverythingAtOnce) {
  int count = 0;
  utl_initialize(count);
  auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
  monitor.Initialize("beam");
  thr_GlobalSingleton<thr_ThreadPool>::Instance().AddThreads(2, 2);
  std::thread all([&] {
    InThreads([&](int number) {
      for (int round = 0; round < 20; ++round) {
        EXPECT_TRUE(UseFunctions());
        EXPECT_TRUE(UseSharedObjects(number));
        EXPECT_TRUE(UseFiles(dir_, number));
      }
    });
  });
  for (int i = 0; i < 100; ++i) {
    const utl_Phase phase(1, "phase");
    monitor.Mark("mark");
  }
  all.join();
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  utl_finalize(count);
  EXPECT_TRUE(FileExists("ioFileSummary"));
}

// Each round makes the objects anew, all threads at once, and ends them after the last.
TEST_F(RacesTest, LibraryIsStartedAndEndedAgainAndAgain) {
  for (int round = 0; round < 20; ++round) {
    int count = 0;
    utl_initialize(count);
    InThreads([&](int number) {
      EXPECT_TRUE(UseSharedObjects(number));
      thr_GlobalSingleton<thr_ThreadPool>::Instance().AddThreads(1, 1);
      EXPECT_TRUE(UseFunctions());
    });
    utl_finalize(count);
    EXPECT_EQ(thr_GlobalSingleton<utl_IOTracker_Container>::Look(), nullptr);
    EXPECT_EQ(thr_GlobalSingleton<thr_ThreadPool>::Look(), nullptr);
  }
}

// Its threads go on while static objects are destroyed: none of them is the library's.
TEST_CHILD(endWhileThreadsGoOn) {
  for (int i = 0; i < kThreads; ++i) {
    std::thread([] {
      while (UseFunctions()) {
      }
      std::_Exit(3);
    }).detach();
  }
  utl_sleep(static_cast<unsigned>(std::stoi(argv[1])));
  return 0;
}

TEST_F(RacesTest, ThreadsMayOutliveStaticObjects) {
  for (const char* milliseconds : {"0", "1", "5", "20", "50"}) {
    EXPECT_EQ(ChildProcess::Start("endWhileThreadsGoOn", {milliseconds}).Wait(), 0)
        << milliseconds;
  }
}

}  // namespace
