// What the C program in tests/c cannot show: threads, and C++ on the other side.

#include "utl/utl_c.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "common/temp/TempDir.h"
#include "nex/nex_TextException.h"
#include "utl/utl_initialize.h"

namespace {

class CInterfaceThreadTest : public testing::Test {
 protected:
  CInterfaceThreadTest() { EXPECT_EQ(kst_start(0, nullptr), kst_Ok); }
  ~CInterfaceThreadTest() override { EXPECT_EQ(kst_end(), kst_Ok); }
};

TEST_F(CInterfaceThreadTest, EveryThreadHasItsOwnLastError) {
  EXPECT_EQ(kst_closeFile(nullptr), kst_BadArgument);
  std::string before = "?";
  std::string after;
  std::thread([&] {
    before = kst_lastError();
    kst_closeSections(nullptr);
    after = kst_lastError();
  }).join();
  EXPECT_EQ(before, "");
  EXPECT_EQ(after, "kst_closeSections: sections is null");
  EXPECT_STREQ(kst_lastError(), "kst_closeFile: file is null");
}

TEST_F(CInterfaceThreadTest, SuccessLeavesTheLastErrorAlone) {
  kst_closeFile(nullptr);
  int isThere = -1;
  EXPECT_EQ(kst_hasOption("job", &isThere), kst_Ok);
  EXPECT_STREQ(kst_lastError(), "kst_closeFile: file is null");
}

TEST_F(CInterfaceThreadTest, HandlesOfOneThreadAreKnownToOthers) {
  const TempDir directory;
  const std::string path = directory.File("job.kdb");
  kst_Sections* sections = nullptr;
  std::thread([&] {
    EXPECT_EQ(kst_openSections(path.c_str(), kst_Write, &sections), kst_Ok);
  }).join();
  EXPECT_EQ(kst_setSection(sections, "a", "bytes", 5), kst_Ok);
  EXPECT_EQ(kst_closeSections(sections), kst_Ok);
}

TEST_F(CInterfaceThreadTest, ThreadsOpenAndCloseAtTheSameTime) {
  const TempDir directory;
  const auto work = [&](const std::string& name) {
    const std::string path = directory.File(name);
    for (int i = 0; i < 50; ++i) {
      kst_File* file = nullptr;
      ASSERT_EQ(kst_openFile(path.c_str(), kst_Write, kst_ShareDefault, &file), kst_Ok);
      ASSERT_EQ(kst_writeFile(file, "bytes", 5), kst_Ok);
      ASSERT_EQ(kst_closeFile(file), kst_Ok);
      ASSERT_EQ(kst_closeFile(file), kst_BadHandle);
    }
  };
  std::thread other([&] { work("a.dat"); });
  work("b.dat");
  other.join();
}

TEST_F(CInterfaceThreadTest, WhoSharesWritingLetsOthersWrite) {
  const TempDir directory;
  const std::string path = directory.File("shared.dat");
  for (const auto& [sharing, status] :
       {std::pair(kst_ShareReadWrite, kst_Ok), std::pair(kst_ShareRead, kst_Locked)}) {
    kst_File* one = nullptr;
    kst_File* other = nullptr;
    ASSERT_EQ(kst_openFile(path.c_str(), kst_Write, sharing, &one), kst_Ok);
    EXPECT_EQ(kst_openFile(path.c_str(), kst_Update, kst_ShareReadWrite, &other), status);
    EXPECT_EQ(other != nullptr, status == kst_Ok);
    if (other != nullptr) {
      EXPECT_EQ(kst_closeFile(other), kst_Ok);
    }
    EXPECT_EQ(kst_closeFile(one), kst_Ok);
  }
}

TEST_F(CInterfaceThreadTest, ALongErrorIsCut) {
  const std::string name(5000, 'n');
  char buffer[1] = {'?'};
  EXPECT_EQ(kst_option(name.c_str(), buffer, sizeof buffer, nullptr), kst_NotFound);
  EXPECT_EQ(std::strlen(kst_lastError()), 1023U);
  EXPECT_EQ(std::string(kst_lastError()).substr(0, 40),
            "kst_option: Command line argument nnnnnn");
  EXPECT_EQ(buffer[0], '?');
}

TEST_F(CInterfaceThreadTest, APathOfAMillionCharactersIsRefused) {
  const std::string path(1000000, 'p');
  kst_Sections* sections = nullptr;
  EXPECT_EQ(kst_openSections(path.c_str(), kst_Write, &sections), kst_SystemError);
  EXPECT_EQ(sections, nullptr);
}

// What a function of the program throws into the library, which has to hold it.
class CInterfaceExceptionTest : public testing::Test {
 protected:
  CInterfaceExceptionTest() {
    EXPECT_EQ(kst_start(0, nullptr), kst_Ok);
    EXPECT_EQ(kst_openSections(directory_.File("a").c_str(), kst_Write, &sections_),
              kst_Ok);
    EXPECT_EQ(kst_setSection(sections_, "a", "bytes", 5), kst_Ok);
  }
  ~CInterfaceExceptionTest() override { EXPECT_EQ(kst_end(), kst_Ok); }

  template <class Exception>
  kst_Status StatusOf(Exception exception) {
    const auto visit = [](const char*, int64_t, void* thrown) -> int {
      throw *static_cast<Exception*>(thrown);
    };
    return kst_visitSections(sections_, visit, &exception);
  }

 private:
  TempDir directory_;
  kst_Sections* sections_ = nullptr;
};

// An exception without memory for its text.
class Speechless : public nex_TextException {
 public:
  Speechless() : nex_TextException("") {}
  atr_String AsString() const override { throw std::bad_alloc(); }
};

TEST_F(CInterfaceExceptionTest, EveryClassHasItsStatus) {
  EXPECT_EQ(StatusOf(nex_TextException("of the library")), kst_Failed);
  EXPECT_STREQ(kst_lastError(), "kst_visitSections: of the library");
  EXPECT_EQ(StatusOf(std::runtime_error("of the language")), kst_Failed);
  EXPECT_STREQ(kst_lastError(), "kst_visitSections: of the language");
  EXPECT_EQ(StatusOf(1), kst_Failed);
  EXPECT_STREQ(kst_lastError(), "kst_visitSections: unknown exception");
  for (const kst_Status status :
       {StatusOf(std::bad_alloc()), StatusOf(std::length_error("")),
        StatusOf(Speechless())}) {
    EXPECT_EQ(status, kst_NoMemory);
  }
  EXPECT_STREQ(kst_lastError(), "kst_visitSections: no memory");
}

TEST_F(CInterfaceExceptionTest, TextHasNoLineEndAtItsEnd) {
  for (const char* const text : {"one\ntwo", "one\ntwo\n", "one\ntwo\r\n\r\n"}) {
    EXPECT_EQ(StatusOf(std::runtime_error(text)), kst_Failed);
    EXPECT_STREQ(kst_lastError(), "kst_visitSections: one\ntwo");
  }
  for (const char* const text : {"", "\n"}) {
    EXPECT_EQ(StatusOf(std::runtime_error(text)), kst_Failed);
    EXPECT_STREQ(kst_lastError(), "kst_visitSections: ");
  }
}

TEST(CInterfaceNestingTest, StartsWithinAStartedCppProgram) {
  int count = 0;
  utl_initialize(count);
  EXPECT_EQ(kst_start(0, nullptr), kst_Ok);
  EXPECT_EQ(kst_end(), kst_Ok);
  int isThere = -1;
  EXPECT_EQ(kst_hasOption("job", &isThere), kst_NotStarted);
  EXPECT_EQ(count, 1);
  utl_finalize(count);
  EXPECT_EQ(count, 0);
}

}  // namespace
