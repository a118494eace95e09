// The memory that a match needs is kept for the next match, unless it is much.

#include "rgx/impl/rgx_Matcher.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>

#include "memory/RefusedMemory.h"

namespace {

class MatcherMemoryTest : public testing::Test {
 protected:
  // How many more blocks are in use after a match than before. PCRE2 keeps
  // the places to go back to, here one for each byte, in a block of their own.
  int BlocksKept(std::size_t bytes) {
    const std::string subject(bytes, 'a');
    const int before = RefusedMemory::Blocks();
    EXPECT_EQ(matcher_.Match(*pattern_, subject), 2);
    EXPECT_EQ(matcher_.Offsets()[0], 0U);
    EXPECT_EQ(matcher_.Offsets()[1], bytes);
    EXPECT_EQ(matcher_.Offsets()[2], bytes - 1);
    EXPECT_EQ(matcher_.Offsets()[3], bytes);
    return RefusedMemory::Blocks() - before;
  }

 private:
  rgx_CompileError error_;
  const std::shared_ptr<const rgx_CompiledPattern> pattern_ =
      rgx_compile("(a|b)*", error_);
  rgx_Matcher matcher_;
};

TEST_F(MatcherMemoryTest, LittleIsKept) {
  EXPECT_EQ(BlocksKept(10), 1);
  EXPECT_EQ(BlocksKept(1000), 0);
  EXPECT_EQ(BlocksKept(1000), 0);
}

TEST_F(MatcherMemoryTest, MuchIsGivenBack) {
  EXPECT_EQ(BlocksKept(100000), 0);
  EXPECT_EQ(BlocksKept(1000), 1);
  EXPECT_EQ(BlocksKept(100000), -1);
}

}  // namespace
