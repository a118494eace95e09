#pragma once

#include <gtest/gtest.h>

#include "utl/utl_FilePath.h"

/// Expects the two paths to have the same parts.
inline void ExpectSamePath(const utl_FilePath& path, const utl_FilePath& expected) {
  EXPECT_EQ(path.PathName(), expected.PathName());
  EXPECT_EQ(path.AbsolutePathName(), expected.AbsolutePathName());
  EXPECT_EQ(path.AbsoluteDirectoryPath(), expected.AbsoluteDirectoryPath());
  EXPECT_EQ(path.FileName(), expected.FileName());
  EXPECT_EQ(path.BaseName(), expected.BaseName());
  EXPECT_EQ(path.Extension(), expected.Extension());
}
