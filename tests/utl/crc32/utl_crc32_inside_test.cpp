#include "utl/impl/crc32/utl_crc32.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

std::uint32_t Whole(utl_Crc32Function function, std::string_view text) {
  return function(kCrc32Start, text.data(), text.size());
}

std::vector<unsigned char> RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<unsigned char> bytes(size);
  for (unsigned char& byte : bytes) {
    byte = static_cast<unsigned char>(random());
  }
  return bytes;
}

// The definition, a bit at a time.
std::uint32_t BitByBit(std::uint32_t reg, const unsigned char* bytes, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) {
    for (int bit = 7; bit >= 0; --bit) {
      const bool feedback =
          (reg >> 31) != (static_cast<std::uint32_t>(bytes[i]) >> bit & 1);
      reg = (reg << 1) ^ (feedback ? 0x04C11DB7u : 0u);
    }
  }
  return reg;
}

class utl_crc32KernelTest : public testing::TestWithParam<std::size_t> {
 protected:
  void SetUp() override {
    if (!kernel_.available) {
      GTEST_SKIP() << "this processor has no " << kernel_.name;
    }
  }
  const utl_Crc32Kernel kernel_ = utl_crc32Kernels()[GetParam()];
};

INSTANTIATE_TEST_SUITE_P(AllKernels, utl_crc32KernelTest,
                         testing::Range(std::size_t{0}, utl_crc32Kernels().size()),
                         [](const auto& instance) {
                           return std::string(utl_crc32Kernels()[instance.param].name);
                         });

TEST_P(utl_crc32KernelTest, CheckValueOfNineDigits) {
  EXPECT_EQ(Whole(kernel_.function, "123456789"), 0x0376E6E7u);
}

TEST_P(utl_crc32KernelTest, NoBytesLeaveTheRegister) {
  EXPECT_EQ(kernel_.function(kCrc32Start, nullptr, 0), 0xFFFFFFFFu);
  EXPECT_EQ(kernel_.function(0x12345678u, nullptr, 0), 0x12345678u);
}

TEST_P(utl_crc32KernelTest, EveryShortLengthEqualsTheBitwiseDefinition) {
  const std::vector<unsigned char> bytes = RandomBytes(600, 1);
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    ASSERT_EQ(kernel_.function(kCrc32Start, bytes.data(), size),
              BitByBit(kCrc32Start, bytes.data(), size))
        << "length " << size;
  }
}

TEST_P(utl_crc32KernelTest, EveryRegisterBitCounts) {
  const std::vector<unsigned char> bytes = RandomBytes(300, 2);
  for (const std::size_t size : {1u, 3u, 4u, 15u, 16u, 17u, 63u, 64u, 255u, 256u, 300u}) {
    for (int bit = 0; bit < 32; ++bit) {
      const std::uint32_t reg = std::uint32_t{1} << bit;
      ASSERT_EQ(kernel_.function(reg, bytes.data(), size),
                BitByBit(reg, bytes.data(), size))
          << "length " << size << ", bit " << bit;
    }
  }
}

TEST_P(utl_crc32KernelTest, EqualsPlainOnRandomLengthsOffsetsAndSplits) {
  const utl_Crc32Function plain = utl_crc32Kernels()[0].function;
  const std::vector<unsigned char> bytes = RandomBytes(5000 + 64, 3);
  std::mt19937 random(4);
  for (int round = 0; round < 4000; ++round) {
    const std::size_t size = random() % 5001;
    const std::size_t split = random() % (size + 1);
    const auto reg = static_cast<std::uint32_t>(random());
    const unsigned char* start = bytes.data() + random() % 64;
    const std::uint32_t expected = plain(reg, start, size);
    ASSERT_EQ(kernel_.function(reg, start, size), expected) << size;
    const std::uint32_t first = kernel_.function(reg, start, split);
    ASSERT_EQ(kernel_.function(first, start + split, size - split), expected)
        << size << " split at " << split;
  }
}

// A block that ends at the end of its allocation: a sanitizer sees any read beyond.
TEST_P(utl_crc32KernelTest, ReadsNothingOutsideTheBlock) {
  for (std::size_t size = 1; size <= 600; ++size) {
    const std::vector<unsigned char> bytes = RandomBytes(size, 5);
    ASSERT_EQ(kernel_.function(kCrc32Start, bytes.data(), size),
              BitByBit(kCrc32Start, bytes.data(), size));
  }
}

TEST(utl_crc32Test, PlainAndSlicedRunEverywhere) {
  ASSERT_GE(utl_crc32Kernels().size(), 2u);
  EXPECT_TRUE(utl_crc32Kernels()[0].available);
  EXPECT_TRUE(utl_crc32Kernels()[1].available);
}

TEST(utl_crc32Test, ChosenKernelGivesTheCheckValue) {
  EXPECT_EQ(Whole(utl_crc32, "123456789"), 0x0376E6E7u);
  EXPECT_EQ(utl_crc32(kCrc32Start, nullptr, 0), 0xFFFFFFFFu);
}

TEST(utl_crc32Test, CopyCopiesAndGivesTheSameChecksum) {
  for (const std::size_t size : {0u, 1u, 100u, 16384u, 16385u, 100000u}) {
    const std::vector<unsigned char> bytes = RandomBytes(size, 6);
    std::vector<unsigned char> copy(size + 1, 0xEE);
    EXPECT_EQ(utl_crc32Copy(7, copy.data(), bytes.data(), size),
              utl_crc32(7, bytes.data(), size));
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), copy.begin())) << size;
    EXPECT_EQ(copy[size], 0xEE);
  }
}

TEST(utl_crc32Test, FirstUseByManyThreadsAtOnce) {
  std::vector<std::uint32_t> results(8);
  std::vector<std::thread> threads;
  for (std::uint32_t& result : results) {
    threads.emplace_back([&result] { result = Whole(utl_crc32, "123456789"); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(results, std::vector<std::uint32_t>(8, 0x0376E6E7u));
}

}  // namespace
