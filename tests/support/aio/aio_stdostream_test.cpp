#include "aio/aio_stdostream.h"

#include <gtest/gtest.h>

#include <new>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

namespace {

// Takes some bytes and then refuses, or throws.
class LimitedBuffer : public std::streambuf {
 public:
  explicit LimitedBuffer(int room) : room_(room) {}

  std::string text;
  int syncs = 0;
  bool isOutOfMemory = false;

 protected:
  int_type overflow(int_type c) override {
    if (isOutOfMemory) {
      throw std::bad_alloc();
    }
    if (room_-- <= 0) {
      return traits_type::eof();
    }
    text += traits_type::to_char_type(c);
    return c;
  }
  int sync() override {
    ++syncs;
    return 0;
  }

 private:
  int room_;
};

TEST(AioStdostreamTest, WritesTheBytes) {
  std::ostringstream text;
  aio_stdostream out(text);
  out.write("ab\0c", 4);
  out.write("x", 0);
  out.write("x", -1);
  EXPECT_EQ(text.str(), std::string("ab\0c", 4));
  EXPECT_TRUE(out.good());
}

TEST(AioStdostreamTest, FlushReachesTheStreamBelow) {
  LimitedBuffer buffer(10);
  std::ostream below(&buffer);
  aio_stdostream out(below);
  out.write("a", 1);
  EXPECT_EQ(buffer.syncs, 0);
  out.flush();
  EXPECT_EQ(buffer.syncs, 1);
}

TEST(AioStdostreamTest, FailureStaysWhateverTheStreamBelowDoes) {
  LimitedBuffer buffer(2);
  std::ostream below(&buffer);
  aio_stdostream out(below);
  out.write("abc", 3);
  EXPECT_FALSE(out.good());
  below.clear();
  below.rdbuf(nullptr);
  out.write("d", 1);
  out.flush();
  EXPECT_FALSE(out.good());
  EXPECT_EQ(buffer.text, "ab");
}

TEST(AioStdostreamTest, ThrowingStreamIsAFailure) {
  LimitedBuffer buffer(0);
  std::ostream below(&buffer);
  below.exceptions(std::ios::badbit | std::ios::failbit);
  aio_stdostream out(below);
  EXPECT_NO_THROW(out.write("a", 1));
  EXPECT_FALSE(out.good());
}

TEST(AioStdostreamTest, MissingMemoryIsAFailure) {
  LimitedBuffer buffer(10);
  buffer.isOutOfMemory = true;
  std::ostream below(&buffer);
  below.exceptions(std::ios::badbit);
  aio_stdostream out(below);
  EXPECT_NO_THROW(out.write("a", 1));
  EXPECT_FALSE(out.good());
}

TEST(AioStdostreamTest, FailedStreamFailsFromTheStart) {
  std::ostringstream text;
  text.setstate(std::ios::badbit);
  EXPECT_FALSE(aio_stdostream(text).good());
}

}  // namespace
