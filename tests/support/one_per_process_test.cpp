// One object per process, whichever of three modules asks: this program, KSTutl or a
// second library; and exceptions that cross between them.

#include <gtest/gtest.h>

#include <exception>
#include <thread>
#include <vector>

#include "clients/second_library/second_library.h"
#include "common/expect/ExpectThrow.h"
#include "cow/cow_1DArray.h"
#include "nex/nex_AssertException.h"
#include "utl/utl_initialize.h"

namespace {

TEST(OnePerProcessTest, GlobalLock) {
  EXPECT_EQ(&thr_GlobalLock::Instance(), second_GlobalLock());
}

// KSTutl destroys all that it sees; nothing may be left for the others to see.
void ExpectThatKSTutlEndsThem() {
  int count = 0;
  utl_initialize(count);
  utl_finalize(count);
  EXPECT_EQ(LookAtKSTutlObjects(), KSTutlObjects{});
  EXPECT_EQ(second_LookAtKSTutlObjects(), KSTutlObjects{});
}

TEST(OnePerProcessTest, ObjectsOfKSTutlMadeByThisProgram) {
  const KSTutlObjects made = MakeKSTutlObjects();
  EXPECT_EQ(second_LookAtKSTutlObjects(), made);
  EXPECT_EQ(second_MakeKSTutlObjects(), made);
  ExpectThatKSTutlEndsThem();
}

TEST(OnePerProcessTest, ObjectsOfKSTutlMadeByTheSecondLibrary) {
  const KSTutlObjects made = second_MakeKSTutlObjects();
  EXPECT_EQ(LookAtKSTutlObjects(), made);
  EXPECT_EQ(MakeKSTutlObjects(), made);
  ExpectThatKSTutlEndsThem();
}

TEST(OnePerProcessTest, GlobalSingletonOfTheSecondLibrary) {
  EXPECT_EQ(&thr_GlobalSingleton<second_Global>::Instance(), second_GlobalInstance());
  thr_GlobalSingleton<second_Global>::Destroy();
}

TEST(OnePerProcessTest, PlainSingletonOfTheSecondLibrary) {
  EXPECT_EQ(&omi_Singleton<second_Plain>::Instance(), second_PlainInstance());
  omi_SingletonBase<second_Plain>::Finalize();
  EXPECT_EQ(omi_Singleton<second_Plain>::Look(), nullptr);
}

TEST(OnePerProcessTest, ThreadSingletonOfTheSecondLibrary) {
  second_PerThread* const mine = second_PerThreadInstance();
  EXPECT_EQ(&thr_ThreadSingleton<second_PerThread>::Instance(), mine);
  std::thread([mine] {
    EXPECT_NE(second_PerThreadInstance(), mine);
    EXPECT_EQ(&thr_ThreadSingleton<second_PerThread>::Instance(),
              second_PerThreadInstance());
  }).join();
  EXPECT_EQ(second_PerThreadAlive(), 1);
  thr_ThreadSingleton<second_PerThread>::Destroy();
  EXPECT_EQ(second_PerThreadAlive(), 0);
}

TEST(OnePerProcessTest, ThreadsThatComeAndGoLeaveNothingInTheSecondLibrary) {
  for (int round = 0; round < 50; ++round) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([] { ++second_PerThreadInstance()->value; });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    ASSERT_EQ(second_PerThreadAlive(), 0);
  }
}

// Raised inside KSTutl: by its own check, and by Throw.
void OutsideAnArray() {
  static_cast<void>(cow_1DArray<int>()[0]);
}
void ThrowText() {
  nex_TextException(atr_String("text")).Throw("this program", 1);
}
void DoNothing() {}

TEST(OnePerProcessTest, ExceptionOfKSTutlIsCaughtInTheSecondLibrary) {
  EXPECT_STREQ(second_CatchByClass(&OutsideAnArray), "nex_AssertException");
  EXPECT_STREQ(second_CatchByGroup(&OutsideAnArray), "nex_TextException");
  EXPECT_STREQ(second_CatchByRoot(&OutsideAnArray), "nex_Exception");
  EXPECT_STREQ(second_CatchByClass(&ThrowText), "something else");
  EXPECT_STREQ(second_CatchByGroup(&ThrowText), "nex_TextException");
  EXPECT_STREQ(second_CatchByClass(&DoNothing), "nothing");
}

TEST(OnePerProcessTest, ExceptionOfTheSecondLibraryIsCaughtHere) {
  EXPECT_THROW_TEXT(second_Throw(), nex_AssertException, "from the second library");
  EXPECT_THROW(second_Throw(), nex_TextException);
  EXPECT_THROW(second_Throw(), nex_Exception);
}

TEST(OnePerProcessTest, ExceptionCrossesBackAndForthAsItsOwnClass) {
  const auto rethrow = [] {
    try {
      second_Throw();
    } catch (const nex_Exception& caught) {
      caught.Propagate();
    }
  };
  EXPECT_STREQ(second_CatchByClass(rethrow), "nex_AssertException");
}

}  // namespace
