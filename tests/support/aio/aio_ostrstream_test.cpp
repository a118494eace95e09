#include "aio/aio_ostrstream.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>

namespace {

constexpr int kChunk = 65536;

struct Deleter {
  void operator()(char* block) const { ::operator delete(block); }
};

std::string Text(const aio_ostrstream& stream) {
  const std::unique_ptr<char, Deleter> text(stream.adoptString(&::operator new));
  std::string result(text.get(), static_cast<std::size_t>(stream.length()));
  EXPECT_EQ(text.get()[stream.length()], '\0');
  return result;
}

void Write(aio_ostrstream& stream, const std::string& text) {
  stream.write(text.data(), static_cast<int>(text.size()));
}

std::string Letters(std::size_t count) {
  std::string text(count, ' ');
  for (std::size_t i = 0; i < count; ++i) {
    text[i] = static_cast<char>('a' + i % 23);
  }
  return text;
}

TEST(AioOstrstreamTest, IsEmptyOpenAndGoodAtFirst) {
  const aio_ostrstream stream;
  EXPECT_EQ(Text(stream), "");
  EXPECT_EQ(stream.length(), 0);
  EXPECT_TRUE(stream.is_open());
  EXPECT_TRUE(stream.good());
}

TEST(AioOstrstreamTest, KeepsEveryByteInOrder) {
  aio_ostrstream stream;
  Write(stream, "one ");
  Write(stream, std::string("t\0o", 3));
  stream.flush();
  Write(stream, " three");
  EXPECT_EQ(Text(stream), std::string("one t\0o three", 13));
}

TEST(AioOstrstreamTest, LengthOfZeroOrLessWritesNothing) {
  aio_ostrstream stream;
  stream.write("abc", 0);
  stream.write("abc", -1);
  stream.write(nullptr, 0);
  EXPECT_EQ(Text(stream), "");
  EXPECT_TRUE(stream.good());
}

TEST(AioOstrstreamTest, PiecesAroundTheChunkSize) {
  for (const int size : {kChunk - 1, kChunk, kChunk + 1, 3 * kChunk, 1000000}) {
    SCOPED_TRACE(size);
    const std::string text = Letters(static_cast<std::size_t>(size));
    aio_ostrstream stream;
    Write(stream, text);
    Write(stream, "end");
    EXPECT_EQ(stream.length(), size + 3);
    EXPECT_EQ(Text(stream), text + "end");
  }
}

TEST(AioOstrstreamTest, ManySmallPieces) {
  std::string expected;
  aio_ostrstream stream;
  for (std::size_t i = 0; i < 20000; ++i) {
    const std::string piece = Letters(i % 17);
    Write(stream, piece);
    expected += piece;
  }
  EXPECT_EQ(Text(stream), expected);
}

TEST(AioOstrstreamTest, AdoptStringKeepsTheText) {
  aio_ostrstream stream;
  Write(stream, "abc");
  EXPECT_EQ(Text(stream), "abc");
  Write(stream, "def");
  EXPECT_EQ(Text(stream), "abcdef");
}

TEST(AioOstrstreamTest, AdoptStringAsksForTheTextAndItsZeroByte) {
  static std::size_t asked = 0;
  aio_ostrstream stream;
  Write(stream, "abc");
  const std::unique_ptr<char, Deleter> text(stream.adoptString([](std::size_t size) {
    asked = size;
    return ::operator new(size);
  }));
  EXPECT_EQ(asked, 4U);
  EXPECT_STREQ(text.get(), "abc");
}

TEST(AioOstrstreamTest, AdoptStringWithoutMemory) {
  aio_ostrstream stream;
  Write(stream, "abc");
  EXPECT_EQ(stream.adoptString([](std::size_t) -> void* { return nullptr; }), nullptr);
  EXPECT_THROW(stream.adoptString([](std::size_t) -> void* { throw std::bad_alloc(); }),
               std::bad_alloc);
  EXPECT_EQ(Text(stream), "abc");
}

TEST(AioOstrstreamTest, SeekForgetsTheTextBehind) {
  const std::string text = Letters(std::size_t{3} * kChunk);
  aio_ostrstream stream;
  Write(stream, text);
  for (const int offset : {3 * kChunk, 2 * kChunk + 5, 2 * kChunk, kChunk - 1, 1, 0}) {
    SCOPED_TRACE(offset);
    stream.seekp(offset);
    EXPECT_EQ(stream.length(), offset);
    EXPECT_EQ(Text(stream), text.substr(0, static_cast<std::size_t>(offset)));
  }
  Write(stream, "new");
  EXPECT_EQ(Text(stream), "new");
  EXPECT_TRUE(stream.good());
}

TEST(AioOstrstreamTest, WritingGoesOnBehindASeek) {
  const std::string text = Letters(std::size_t{2} * kChunk);
  for (const int offset : {kChunk, kChunk + 1, 3}) {
    aio_ostrstream stream;
    Write(stream, text);
    stream.seekp(offset);
    Write(stream, text);
    EXPECT_EQ(Text(stream), text.substr(0, static_cast<std::size_t>(offset)) + text);
  }
}

TEST(AioOstrstreamTest, SeekOutsideTheTextFailsAndChangesNothing) {
  for (const std::int64_t offset : {std::int64_t{-1}, std::int64_t{4}, INT64_MAX}) {
    aio_ostrstream stream;
    Write(stream, "abc");
    stream.seekp(offset);
    EXPECT_FALSE(stream.good());
    EXPECT_EQ(Text(stream), "abc");
  }
}

TEST(AioOstrstreamTest, ClosedStreamKeepsItsTextAndTakesNoMore) {
  aio_ostrstream stream;
  Write(stream, "abc");
  stream.close();
  EXPECT_FALSE(stream.is_open());
  EXPECT_TRUE(stream.good());
  Write(stream, "def");
  EXPECT_FALSE(stream.good());
  EXPECT_EQ(Text(stream), "abc");
}

TEST(AioOstrstreamTest, SeekOfAClosedStreamFails) {
  aio_ostrstream stream;
  Write(stream, "abc");
  stream.close();
  stream.seekp(0);
  EXPECT_FALSE(stream.good());
  EXPECT_EQ(Text(stream), "abc");
}

}  // namespace
