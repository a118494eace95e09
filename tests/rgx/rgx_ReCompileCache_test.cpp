#include "rgx/rgx_ReCompileCache.h"

#include <gtest/gtest.h>

#include <random>

#include "common/expect/ExpectThrow.h"
#include "nex/nex_TextException.h"
#include "rgx/rgx_funcs.h"
#include "rgx/TreeModel.h"

namespace {

cow_String Pattern(int number) {
  return cow_String("p" + std::to_string(number) + "(x|y)+");
}

int MembersAmong(const rgx_ReCompileCache& cache, int from, int to) {
  int members = 0;
  for (int i = from; i < to; ++i) {
    members += cache.IsMember(Pattern(i)) ? 1 : 0;
  }
  return members;
}

TEST(RgxReCompileCacheTest, StoresWhatItCompiles) {
  rgx_ReCompileCache cache;
  EXPECT_EQ(cache.Size(), 0);
  EXPECT_FALSE(cache.IsMember("a"));
  EXPECT_EQ(cache.Size(), 0);
  const rgx_CompiledPattern* const compiled = &cache.Compiled("a");
  EXPECT_TRUE(cache.IsMember("a"));
  EXPECT_EQ(cache.Size(), 1);
  EXPECT_EQ(&cache.Compiled("a"), compiled);
  EXPECT_EQ(cache.Size(), 1);
}

TEST(RgxReCompileCacheTest, TheHundredAndFirstPatternEvictsFifty) {
  rgx_ReCompileCache cache;
  for (int i = 0; i < 100; ++i) {
    cache.Compiled(Pattern(i));
    EXPECT_EQ(cache.Size(), i + 1);
  }
  EXPECT_EQ(MembersAmong(cache, 0, 100), 100);
  cache.Compiled(Pattern(50));
  EXPECT_EQ(cache.Size(), 100);
  cache.Compiled(Pattern(100));
  EXPECT_EQ(cache.Size(), 51);
  EXPECT_EQ(MembersAmong(cache, 0, 100), 50);
  EXPECT_TRUE(cache.IsMember(Pattern(100)));
  // The root is the first that goes.
  EXPECT_FALSE(cache.IsMember(Pattern(0)));
  cache.Compiled(Pattern(0));
  EXPECT_TRUE(cache.IsMember(Pattern(0)));
  EXPECT_EQ(cache.Size(), 52);
}

// Keys of one bit form a chain in the order of insertion, so the oldest 50 go.
TEST(RgxReCompileCacheTest, AChainLosesItsUpperHalf) {
  rgx_ReCompileCache cache;
  for (int i = 0; i < 101; ++i) {
    cache.Compiled(cow_String(std::string(static_cast<std::size_t>(i), 'b')));
  }
  for (int i = 0; i < 101; ++i) {
    EXPECT_EQ(cache.IsMember(cow_String(std::string(static_cast<std::size_t>(i), 'b'))),
              i >= 50)
        << i;
  }
}

TEST(RgxReCompileCacheTest, WhichFiftyGoAgainstTheModel) {
  std::mt19937 random(42);
  rgx_ReCompileCache cache;
  TreeModel model;
  for (int step = 0; step < 3000; ++step) {
    std::string key(1 + random() % 12, ' ');
    for (char& c : key) {
      c = static_cast<char>('a' + random() % 26);
    }
    const std::vector<std::string> before = model.Keys();
    if (!model.IsMember(key)) {
      if (before.size() == 100) {
        for (std::size_t i = 0; i < 50; ++i) {
          model.Remove(before[i]);
        }
      }
      model.Insert(key);
    }
    cache.Compiled(cow_String(key));
    ASSERT_EQ(cache.Size(), static_cast<int>(model.Keys().size()));
    for (const std::string& known : before) {
      ASSERT_EQ(cache.IsMember(cow_String(known)), model.IsMember(known)) << known;
    }
  }
}

TEST(RgxReCompileCacheTest, AMalformedPatternChangesNothing) {
  rgx_ReCompileCache cache;
  for (int i = 0; i < 100; ++i) {
    cache.Compiled(Pattern(i));
  }
  EXPECT_THROW_AT(cache.Compiled("a(b"), nex_TextException,
                  "rgx_match: error in regex at offset 3: missing closing parenthesis",
                  "rgx/impl/rgx_ReCompileCache", 92);
  EXPECT_FALSE(cache.IsMember("a(b"));
  EXPECT_EQ(MembersAmong(cache, 0, 100), 100);
}

TEST(RgxReCompileCacheTest, APatternWithAZeroByteIsAKeyOfItsOwn) {
  rgx_ReCompileCache cache;
  cache.Compiled(cow_String("a\0(", 3));
  EXPECT_TRUE(cache.IsMember(cow_String("a\0(", 3)));
  EXPECT_FALSE(cache.IsMember("a"));
}

TEST(RgxReCompileCacheTest, StartMakesTheThreadsCacheAndEndDestroysIt) {
  using Cache = thr_ThreadSingleton<rgx_ReCompileCache>;
  Cache::Destroy();
  int count = 5;
  rgx_initialize(count);
  EXPECT_EQ(count, 6);
  ASSERT_NE(Cache::Look(), nullptr);
  rgx_match("a", "a");
  rgx_initialize(count);
  EXPECT_EQ(count, 6);
  EXPECT_EQ(Cache::Instance().Size(), 1);
  rgx_finalize(count);
  EXPECT_EQ(count, 6);
  EXPECT_TRUE(Cache::Instance().IsMember("a"));
  rgx_finalize(count);
  EXPECT_EQ(count, 5);
  EXPECT_EQ(Cache::Look(), nullptr);
  rgx_initialize(count);
  EXPECT_EQ(count, 6);
  EXPECT_EQ(Cache::Instance().Size(), 0);
  rgx_finalize(count);
}

}  // namespace
