// The C interface where memory runs out: a status each time, and nothing open or locked
// afterwards.

#include "utl/utl_c.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "common/temp/TempDir.h"
#include "memory/RefusedMemory.h"

namespace {

// Calls with the first request for memory refused, with the second, until there is none
// to refuse; how often one was.
int RefuseEach(const std::function<kst_Status()>& call,
               const std::function<void(kst_Status)>& afterwards) {
  for (int nth = 1;; ++nth) {
    kst_Status status = kst_Ok;
    bool happened = false;
    {
      const RefusedMemory refused(nth);
      status = call();
      happened = refused.Happened();
    }
    SCOPED_TRACE(nth);
    if (!happened) {
      EXPECT_EQ(status, kst_Ok);
    } else if (status != kst_Ok) {
      EXPECT_EQ(status, kst_NoMemory) << kst_lastError();
    }
    afterwards(status);
    if (!happened || testing::Test::HasFailure()) {
      return nth - 1;
    }
  }
}

TEST(CInterfaceMemoryTest, StartGivesAStatusAndMayBeRepeated) {
  char program[] = "program";
  char option[] = "-title";
  char value[] = "a value that is too long to be held without memory of its own";
  char* arguments[] = {program, option, value};
  const int refusals =
      RefuseEach([&] { return kst_start(3, arguments); },
                 [&](kst_Status status) {
                   if (status != kst_Ok) {
                     size_t count = 0;
                     EXPECT_EQ(kst_argumentCount(&count), kst_NotStarted);
                     EXPECT_EQ(kst_start(3, arguments), kst_Ok);
                   }
                   size_t count = 0;
                   EXPECT_EQ(kst_argumentCount(&count), kst_Ok);
                   EXPECT_EQ(count, 3U);
                   EXPECT_EQ(kst_end(), kst_Ok);
                 });
  EXPECT_GT(refusals, 3);
  EXPECT_EQ(kst_end(), kst_NotStarted);
}

class CInterfaceMemoryFileTest : public testing::Test {
 protected:
  CInterfaceMemoryFileTest() { EXPECT_EQ(kst_start(0, nullptr), kst_Ok); }
  ~CInterfaceMemoryFileTest() override { EXPECT_EQ(kst_end(), kst_Ok); }

  bool IsLocked() const { return std::filesystem::exists(path_ + ".lock"); }

  TempDir directory_;
  std::string path_ = directory_.File("sections.kdb");
};

TEST_F(CInterfaceMemoryFileTest, WhatCannotBeOpenedIsNeitherOpenNorLocked) {
  kst_Sections* sections = nullptr;
  const int refusals =
      RefuseEach([&] { return kst_openSections(path_.c_str(), kst_Write, &sections); },
                 [&](kst_Status status) {
                   EXPECT_EQ(sections != nullptr, status == kst_Ok);
                   EXPECT_EQ(IsLocked(), status == kst_Ok);
                   if (status == kst_Ok) {
                     EXPECT_EQ(kst_closeSections(sections), kst_Ok);
                   }
                   sections = nullptr;
                 });
  EXPECT_GT(refusals, 3);
}

TEST_F(CInterfaceMemoryFileTest, WhatCannotBeSetLeavesTheSectionAsItWas) {
  kst_Sections* sections = nullptr;
  ASSERT_EQ(kst_openSections(path_.c_str(), kst_Write, &sections), kst_Ok);
  ASSERT_EQ(kst_setSection(sections, "a", "before", 6), kst_Ok);
  const int refusals =
      RefuseEach([&] { return kst_setSection(sections, "a", "afterwards", 10); },
                 [&](kst_Status status) {
                   size_t size = 0;
                   EXPECT_EQ(kst_sectionSize(sections, "a", &size), kst_Ok);
                   EXPECT_EQ(size, status == kst_Ok ? 10U : 6U);
                 });
  EXPECT_GT(refusals, 0);
  EXPECT_EQ(kst_closeSections(sections), kst_Ok);
}

}  // namespace
