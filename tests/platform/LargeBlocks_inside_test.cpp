#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace {

using platform::LargeBlocks;

constexpr std::size_t kMegabyte = 1 << 20;

TEST(LargeBlocksTest, BlocksOfAllSizesAreWholeAndApart) {
  struct Block {
    char* begin;
    std::size_t size;
    char value;
  };
  std::mt19937 random(1);
  LargeBlocks blocks;
  std::vector<Block> taken;
  for (int i = 0; i < 1000; ++i) {
    const std::size_t size = random() % (i % 100 == 0 ? 50 * kMegabyte : kMegabyte) + 1;
    const Block block = {blocks.Take(size), size, static_cast<char>(i)};
    std::memset(block.begin, block.value, size);
    taken.push_back(block);
    if (taken.size() > 30) {
      std::swap(taken[random() % taken.size()], taken.back());
      const Block& gone = taken.back();
      ASSERT_EQ(std::string(gone.begin, gone.size), std::string(gone.size, gone.value));
      LargeBlocks::GiveBack(gone.begin, gone.size);
      taken.pop_back();
    }
  }
  for (const Block& block : taken) {
    LargeBlocks::GiveBack(block.begin, block.size);
  }
}

TEST(LargeBlocksTest, BlockOutlivesTheObject) {
  auto blocks = std::make_unique<LargeBlocks>();
  char* const block = blocks->Take(kMegabyte);
  blocks.reset();
  std::memset(block, 'x', kMegabyte);
  EXPECT_EQ(std::string(block, kMegabyte), std::string(kMegabyte, 'x'));
  LargeBlocks::GiveBack(block, kMegabyte);
}

TEST(LargeBlocksTest, BlockThatIsTooLargeThrowsAndLeavesTheOthers) {
  LargeBlocks blocks;
  char* const block = blocks.Take(kMegabyte);
  std::memset(block, 'x', kMegabyte);
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
  for (const std::size_t size : {kMost, kMost - 4096, kMost / 2, kMost / 4}) {
    EXPECT_THROW(blocks.Take(size), std::bad_alloc) << size;
  }
  EXPECT_EQ(std::string(block, kMegabyte), std::string(kMegabyte, 'x'));
  LargeBlocks::GiveBack(block, kMegabyte);
}

}  // namespace
