// The C interface where the system's calls fail.

#include "utl/utl_c.h"

#include <gtest/gtest.h>

#include <string>

#include "common/failing/FailingCall.h"
#include "common/temp/TempDir.h"

namespace {

class CInterfaceFailureTest : public testing::Test {
 protected:
  CInterfaceFailureTest() { EXPECT_EQ(kst_start(0, nullptr), kst_Ok); }

  kst_File* OpenFile() {
    kst_File* file = nullptr;
    EXPECT_EQ(
        kst_openFile(directory_.File("a").c_str(), kst_Write, kst_ShareDefault, &file),
        kst_Ok);
    return file;
  }

  TempDir directory_;
};

TEST_F(CInterfaceFailureTest, AHandleIsGoneThoughItsFileCannotBeClosed) {
  kst_File* const file = OpenFile();
  kst_Sections* sections = nullptr;
  EXPECT_EQ(kst_openSections(directory_.File("b").c_str(), kst_Write, &sections), kst_Ok);
  {
    const FailingCall failing(SystemCall::kCloseHandle, ERROR_INVALID_HANDLE);
    EXPECT_EQ(kst_closeFile(file), kst_SystemError);
    EXPECT_EQ(
        std::string(kst_lastError()).find("kst_closeFile: ***ERROR: File close failed"),
        0U);
  }
  {
    const FailingCall failing(SystemCall::kCloseHandle, ERROR_INVALID_HANDLE);
    EXPECT_EQ(kst_closeSections(sections), kst_SystemError);
  }
  EXPECT_EQ(kst_closeFile(file), kst_BadHandle);
  EXPECT_EQ(kst_closeSections(sections), kst_BadHandle);
  EXPECT_EQ(kst_end(), kst_Ok);
}

TEST_F(CInterfaceFailureTest, TheEndTellsOfAFileThatCannotBeClosed) {
  OpenFile();
  {
    const FailingCall failing(SystemCall::kCloseHandle, ERROR_INVALID_HANDLE);
    EXPECT_EQ(kst_end(), kst_SystemError);
  }
  EXPECT_EQ(kst_end(), kst_NotStarted);
}

TEST_F(CInterfaceFailureTest, AFullDiskIsTheSystemsError) {
  kst_File* const file = OpenFile();
  {
    const FailingCall failing(SystemCall::kWriteFile, ERROR_DISK_FULL);
    EXPECT_EQ(kst_writeFile(file, "bytes", 5), kst_SystemError);
  }
  EXPECT_EQ(kst_writeFile(file, "bytes", 5), kst_Ok);
  EXPECT_EQ(kst_end(), kst_Ok);
}

TEST_F(CInterfaceFailureTest, ASectionThatTheSystemDoesNotReadIsNotDamaged) {
  const std::string path = directory_.File("b");
  kst_Sections* sections = nullptr;
  EXPECT_EQ(kst_openSections(path.c_str(), kst_Write, &sections), kst_Ok);
  EXPECT_EQ(kst_setSection(sections, "a", "bytes", 5), kst_Ok);
  EXPECT_EQ(kst_saveSections(sections), kst_Ok);
  EXPECT_EQ(kst_closeSections(sections), kst_Ok);
  EXPECT_EQ(kst_openSections(path.c_str(), kst_Read, &sections), kst_Ok);
  char bytes[5];
  {
    const FailingCall failing(SystemCall::kReadFile, ERROR_IO_DEVICE);
    EXPECT_EQ(kst_getSection(sections, "a", bytes, 5), kst_SystemError);
  }
  EXPECT_EQ(kst_getSection(sections, "a", bytes, 5), kst_Ok);
  EXPECT_EQ(kst_end(), kst_Ok);
}

TEST_F(CInterfaceFailureTest, WhatCannotBeSavedIsStillSet) {
  kst_Sections* sections = nullptr;
  EXPECT_EQ(kst_openSections(directory_.File("b").c_str(), kst_Write, &sections), kst_Ok);
  EXPECT_EQ(kst_setSection(sections, "a", "bytes", 5), kst_Ok);
  {
    const FailingCall failing(SystemCall::kWriteFile, ERROR_DISK_FULL);
    EXPECT_EQ(kst_saveSections(sections), kst_SystemError);
  }
  char bytes[6] = "";
  EXPECT_EQ(kst_getSection(sections, "a", bytes, 5), kst_Ok);
  EXPECT_STREQ(bytes, "bytes");
  EXPECT_EQ(kst_saveSections(sections), kst_Ok);
  EXPECT_EQ(kst_end(), kst_Ok);
}

}  // namespace
