#include "mem/mem_Malloc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

namespace {

TEST(MemMallocTest, BlockMayBeReleasedByOperatorDelete) {
  void* const block = mem_Malloc(100);
  std::memset(block, 7, 100);
  ::operator delete(block);
}

TEST(MemFreeTest, ReleasesABlockOfOperatorNew) {
  mem_Free(::operator new(100));
}

TEST(MemFreeTest, NullIsAllowed) {
  mem_Free(nullptr);
}

TEST(MemMallocTest, SizeZeroGivesABlock) {
  void* const block = mem_Malloc(0);
  EXPECT_NE(block, nullptr);
  mem_Free(block);
}

TEST(MemReallocTest, NullIsAnEmptyBlock) {
  void* const block = mem_Realloc(nullptr, 10);
  ASSERT_NE(block, nullptr);
  std::memset(block, 7, 10);
  mem_Free(block);
}

TEST(MemReallocTest, ContentsMoveToTheSmallerOfTheSizes) {
  const std::string text = "0123456789abcdefghijklmnopqrstuvwxyz";
  constexpr std::size_t kSizes[] = {1, 2, 36, 37, 64, 1000, 1 << 20, 5000, 36};
  for (const std::size_t size : kSizes) {
    SCOPED_TRACE(size);
    void* const block = mem_Malloc(text.size());
    std::memcpy(block, text.data(), text.size());
    void* const moved = mem_Realloc(block, size);
    EXPECT_EQ(std::memcmp(moved, text.data(), std::min(size, text.size())), 0);
    std::memset(moved, 7, size);
    mem_Free(moved);
  }
}

TEST(MemReallocTest, TakesABlockOfOperatorNew) {
  auto* const block = static_cast<char*>(::operator new(4));
  std::memcpy(block, "abc", 4);
  auto* const moved = static_cast<char*>(mem_Realloc(block, 100000));
  EXPECT_STREQ(moved, "abc");
  ::operator delete(moved);
}

TEST(MemReallocTest, SizeZeroGivesABlock) {
  void* const moved = mem_Realloc(mem_Malloc(10), 0);
  EXPECT_NE(moved, nullptr);
  mem_Free(moved);
}

}  // namespace
