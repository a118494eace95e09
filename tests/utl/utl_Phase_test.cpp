#include "utl/utl_Phase.h"

#include <stdexcept>
#include <string>

#include "utl/tracker/TrackerTest.h"
#include "utl/UseLog.h"
#include "utl/utl_ResourceMonitor.h"

namespace {

class PhaseTest : public IOTrackerTest {
 protected:
  PhaseTest() {
    LoadArguments({"-job", "beam"});
    StartTracker("1");
    Monitor().Initialize("beam");
  }
  ~PhaseTest() override { omi_SingletonBase<utl_ResourceMonitor>::Finalize(); }

  static utl_ResourceMonitor& Monitor() {
    return omi_Singleton<utl_ResourceMonitor>::Instance();
  }
  // The log and the marks of the totals, both ended.
  UseLog EndedLog() {
    omi_SingletonBase<utl_ResourceMonitor>::Finalize();
    EndTracker();
    std::string text = ReadWholeFile(File("beam.use"));
    std::erase(text, '\r');
    return ReadUseLog(text, "beam", false);
  }
  std::vector<std::string> TrackerMarks() {
    std::vector<std::string> marks;
    for (const TrackerLine& line : Read("beam.ioTotal").lines) {
      marks.push_back(line.label);
    }
    return marks;
  }
  // The phases' marks in the log, between those of start and end.
  static std::vector<std::string> Marks(const UseLog& log) {
    std::vector<std::string> marks;
    for (std::size_t i = 1; i + 1 < log.marks.size(); ++i) {
      const std::string& label = log.marks[i].Label();
      marks.push_back(label.substr(label.find_first_not_of(' ')));
    }
    return marks;
  }

  ScopedEnvironment on_{"KES_RESOURCE_MONITOR", "ON"};
};

using Texts = std::vector<std::string>;

TEST_F(PhaseTest, IsTimedAndMarkedAtItsEnd) {
  {
    const utl_Phase phase(1, "read");
    EXPECT_FALSE(Exists("beam.ioTotal")) << "no mark yet";
  }
  { const utl_Phase phase(2, std::string("solve")); }
  const UseLog log = EndedLog();
  EXPECT_EQ(Marks(log), (Texts{"read", "solve"}));
  EXPECT_EQ(TrackerMarks(), (Texts{"read", "solve"}));
  ASSERT_EQ(log.timers.size(), 3U) << "and the monitor's own";
  EXPECT_EQ(log.timers[0].id, 1);
  EXPECT_EQ(log.timers[0].name, "read");
  EXPECT_EQ(log.timers[0].calls, 1);
  EXPECT_EQ(log.timers[1].name, "solve");
}

TEST_F(PhaseTest, ThatAnExceptionEndsIsNotDone) {
  try {
    const utl_Phase phase(1, "read");
    throw std::runtime_error("no deck");
  } catch (const std::runtime_error&) {
    const utl_Phase phase(2, "repair");  // in a handler it is done like any other
  }
  const UseLog log = EndedLog();
  EXPECT_EQ(Marks(log), Texts{"repair"});
  EXPECT_EQ(TrackerMarks(), Texts{"repair"});
  ASSERT_EQ(log.timers.size(), 2U) << "and the monitor's own";
  EXPECT_EQ(log.timers[0].name, "repair");
}

// A phase in a destructor that runs because of an exception.
struct PhaseAtTheEnd {
  ~PhaseAtTheEnd() { const utl_Phase phase(3, "clean up"); }
};

TEST_F(PhaseTest, ThatBeginsWhileAnExceptionUnwindsIsDone) {
  try {
    const PhaseAtTheEnd end;
    throw std::runtime_error("no deck");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(Marks(EndedLog()), Texts{"clean up"});
  }
}

TEST_F(PhaseTest, NestsWithAnotherTimer) {
  {
    const utl_Phase outer(1, "outer");
    const utl_Phase inner(2, "inner");
  }
  EXPECT_EQ(Marks(EndedLog()), (Texts{"inner", "outer"}));
}

TEST_F(PhaseTest, WithoutLogsDoesNothing) {
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  EndTracker();
  { const utl_Phase phase(1, "read"); }
  EXPECT_EQ(TrackerHolder::Look(), nullptr);
  EXPECT_FALSE(Monitor().IsEnabled());
}

}  // namespace
