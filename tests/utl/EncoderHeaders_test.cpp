// The encoders are used one without another: none brings a further header of the library
// but those of its support.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "common/temp/TempDir.h"

namespace {

class EncoderHeaderTest : public testing::TestWithParam<const char*> {};

TEST_P(EncoderHeaderTest, BringsNoOtherHeaderOfTheLibrary) {
  const std::string name = GetParam();
  std::istringstream lines(ReadWholeFile(KST_PUBLIC_HEADERS "/" + name + ".h"));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    EXPECT_FALSE(line.starts_with("#include \"utl/") ||
                 line.starts_with("#include <utl/"))
        << line;
  }
  EXPECT_GT(count, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, EncoderHeaderTest,
                         testing::Values("LongKey", "omi_Btree", "utl_BinStream",
                                         "utl_BlkBitUtils", "utl_Catenator", "utl_Stream",
                                         "utl_base64"),
                         [](const auto& header) { return std::string(header.param); });

}  // namespace
