// The command line from several threads.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "typ/typ_DebugFlags.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"

namespace {

using Singleton = thr_GlobalSingleton<utl_CommandLine>;

const utl_CommandLine& Line() {
  return Singleton::Instance();
}

void Load(std::initializer_list<const char*> arguments) {
  cow_1DArrayList<cow_String> list;
  for (const char* argument : arguments) {
    list.Append(argument);
  }
  utl_CommandLineLoader::SetArgsList(list);
}

class CommandLineThreadsTest : public testing::Test {
 protected:
  void SetUp() override { Clear(); }
  void TearDown() override { Clear(); }

 private:
  static void Clear() {
    Singleton::Destroy();
    typ_DebugFlags::Clear();
  }
};

// Eight threads make the object at once, and ask it.
TEST_F(CommandLineThreadsTest, CreateIt) {
  for (int round = 0; round < 50; ++round) {
    Singleton::Destroy();
    std::atomic<const utl_CommandLine*> made{nullptr};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&made] {
        const utl_CommandLine* const mine = &Line();
        const utl_CommandLine* other = nullptr;
        if (!made.compare_exchange_strong(other, mine)) {
          EXPECT_EQ(other, mine);
        }
        EXPECT_EQ(mine->Size(), 0);
        EXPECT_FALSE(mine->IsMember("job"));
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
}

TEST_F(CommandLineThreadsTest, QueriesFromEight) {
  Load({"prog", "-job", "beam", "-cpus", "4", "-error", "a=1,b", "-bad", "x"});
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 200; ++round) {
        cow_String job = Line().ConstGetValue("job");
        job += "!";
        EXPECT_EQ(job, "beam!");
        EXPECT_EQ(Line().ConstGetValueAsInt("cpus"), 4);
        EXPECT_EQ(Line().ConstGetValueAsSizeT("cpus", 1), 4u);
        EXPECT_EQ(Line().ConstGet(2), "beam");
        EXPECT_EQ(Line().Size(), 9);
        EXPECT_EQ(Line().ConstGetValueAsDictionary("error").Length(), 2);
        EXPECT_THROW(Line().ConstGetValueAsInt("bad"), utl_CmdLineArgFormatException);
        EXPECT_THROW(Line().ConstGetValue("none"), utl_MissingCmdLineArgException);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// A query that does not wait for the lock ends while it is held.
TEST_F(CommandLineThreadsTest, EveryQueryLocks) {
  Load({"prog", "-n", "1"});
  const std::function<void()> queries[] = {
      [] { Line().ConstGetValue("n"); },
      [] { Line().ConstGetValue("n", ""); },
      [] { Line().ConstGetValueAsInt("n"); },
      [] { Line().ConstGetValueAsInt("n", 7); },
      [] { Line().ConstGetValueAsSizeT("n"); },
      [] { Line().ConstGetValueAsSizeT("n", 7); },
      [] { Line().ConstGetValueAsDictionary("n"); },
      [] { Line().IsMember("n"); },
      [] { Line().ConstGet(0); },
      [] { Line().Size(); },
  };
  for (const std::function<void()>& query : queries) {
    std::atomic<bool> started{false};
    std::atomic<bool> ended{false};
    std::unique_lock<thr_Mutex> lock(Singleton::Mutex());
    std::thread asking([&] {
      started = true;
      query();
      ended = true;
    });
    while (!started) {
      std::this_thread::yield();
    }
    for (int i = 0; i < 50; ++i) {
      std::this_thread::yield();
    }
    EXPECT_FALSE(ended) << "query " << &query - queries;
    lock.unlock();
    asking.join();
  }
}

}  // namespace
