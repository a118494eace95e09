#include "utl/utl_base64.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/expect/ExceptionContract.h"
#include "common/expect/ExpectThrow.h"
#include "common/expect/Steps.h"
#include "common/thread/StartLine.h"
#include "utl/impl/base64/utl_base64_codec.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+!";

std::string Encoded(std::string_view bytes, bool lineBreaks = false) {
  cow_String data(bytes);
  return std::string(utl_base64Encode(data, lineBreaks));
}

std::string Decoded(std::string_view characters, bool strict = true) {
  cow_String text(characters);
  return std::string(utl_base64Decode(text, strict));
}

void* AllocateNothing(std::size_t) {
  return nullptr;
}

// Blocks with a fence of known bytes behind what was asked for.
constexpr std::size_t kFence = 16;
char* lastBlock;
std::size_t lastSize;

void* AllocateFenced(std::size_t size) {
  lastSize = size;
  lastBlock = static_cast<char*>(::operator new(size + kFence));
  std::memset(lastBlock, '#', size + kFence);
  return lastBlock;
}

void ExpectFence() {
  EXPECT_EQ(std::string(lastBlock + lastSize, kFence), std::string(kFence, '#'));
}

TEST(Base64Test, GroupsOfThreeBytes) {
  EXPECT_EQ(Encoded("Man"), "TWFu");
  EXPECT_EQ(Encoded("\xFF\xFF\xFF"), "!!!!");
  EXPECT_EQ(Encoded(std::string(3, '\0')), "AAAA");
  EXPECT_EQ(Encoded("\xFB\xEF\xBE"), "++++");
}

TEST(Base64Test, BytesLeftOverArePadded) {
  EXPECT_EQ(Encoded("M"), "TQ==");
  EXPECT_EQ(Encoded("Ma"), "TWE=");
  EXPECT_EQ(Encoded("ManM"), "TWFuTQ==");
}

TEST(Base64Test, EveryCharacterOfTheAlphabetInItsPlace) {
  std::string bytes;
  for (unsigned value = 0; value < 64; value += 4) {
    const unsigned group =
        value << 18 | (value + 1) << 12 | (value + 2) << 6 | (value + 3);
    bytes += {static_cast<char>(group >> 16), static_cast<char>(group >> 8),
              static_cast<char>(group)};
  }
  EXPECT_EQ(Encoded(bytes), kAlphabet);
  EXPECT_EQ(Decoded(kAlphabet), bytes);
}

TEST(Base64Test, EncodingLeavesTheCallersBytes) {
  cow_String data("\nMan\n");
  utl_base64Encode(data, true);
  EXPECT_EQ(std::string(data), "\nMan\n");
}

TEST(Base64Test, NoBytesGiveAnEmptyText) {
  EXPECT_EQ(Encoded("", false), "");
  EXPECT_EQ(Encoded("", true), "");
}

TEST(Base64Test, LinesOf76CharactersEachWithItsNewline) {
  const std::string line(76, 'A');
  EXPECT_EQ(Encoded(std::string(57, '\0'), true), line + "\n");
  EXPECT_EQ(Encoded(std::string(58, '\0'), true), line + "\nAA==\n");
  EXPECT_EQ(Encoded(std::string(59, '\0'), true), line + "\nAAA=\n");
  EXPECT_EQ(Encoded(std::string(60, '\0'), true), line + "\nAAAA\n");
  EXPECT_EQ(Encoded(std::string(114, '\0'), true), line + "\n" + line + "\n");
  EXPECT_EQ(Encoded(std::string(56, '\0'), true), line.substr(0, 72) + "AAA=\n");
  EXPECT_EQ(Encoded(std::string(1, '\0'), true), "AA==\n");
}

TEST(Base64Test, PaddingEndsTheBytesWhateverFollows) {
  EXPECT_EQ(Decoded("TQ=="), "M");
  EXPECT_EQ(Decoded("TWE="), "Ma");
  EXPECT_EQ(Decoded("TQ==/=\x80"), "M");
  EXPECT_EQ(Decoded("TWE=T"), "Ma");
}

TEST(Base64Test, EmptyTextGivesNoBytes) {
  EXPECT_EQ(Decoded(""), "");
  EXPECT_EQ(Decoded("\n\n"), "");
}

TEST(Base64Test, ZeroByteEndsTheText) {
  EXPECT_EQ(Decoded(std::string_view("TWFu\0/", 6)), "Man");
  EXPECT_THROW_TEXT(Decoded(std::string_view("TWFuT\0AA", 8)), utl_Base64CodecError,
                    "padding error");
}

TEST(Base64Test, WrongPaddingIsAnError) {
  for (const char* text : {"=", "====", "T=", "T===", "TQ=x", "TQ=", "TWFu=", "TQ=\n=",
                           "TQ", "T", "TWF", "TWFuT", "TWFuTQ", "TWFuTWF"}) {
    for (const bool strict : {true, false}) {
      EXPECT_THROW_TEXT(Decoded(text, strict), utl_Base64CodecError, "padding error")
          << text;
    }
  }
}

TEST(Base64Test, ByteOutsideTheAlphabetIsAnErrorWhenStrict) {
  for (const char* text :
       {"TW/u", "/", "TW\nu", "TW\ru", "TW u", "TW\x80u", "TW-u", "TW_u", "\rTWFu"}) {
    EXPECT_THROW_TEXT(Decoded(text, true), utl_Base64CodecError,
                      "strict checking failure")
        << text;
  }
}

TEST(Base64Test, WhatComesFirstInTheTextIsReported) {
  EXPECT_THROW_TEXT(Decoded("=/", true), utl_Base64CodecError, "padding error");
  EXPECT_THROW_TEXT(Decoded("/=", true), utl_Base64CodecError, "strict checking failure");
}

TEST(Base64Test, BytePassedOverKeepsItsPlace) {
  // T = 19, W = 22, u = 46: 4D, then the low bits of W, then u alone.
  EXPECT_EQ(Decoded("TW/u", false), "\x4D\x60\x2E");
  EXPECT_EQ(Decoded("////", false), "");
  EXPECT_EQ(Decoded("TWF/", false), "") << "nothing completes the group";
}

TEST(Base64Test, BytesUnderConstructionLastFromGroupToGroup) {
  // The second group has no second character: its first byte lacks two bits, its second
  // still is that of the group before.
  EXPECT_EQ(Decoded("TWFuT/Fu", false),
            "Man\x4C"
            "a"
            "n");
}

TEST(Base64Test, OneLineIsDecodedWithTheNewlinesAroundIt) {
  EXPECT_EQ(Decoded("\n\nTWFu\n"), "Man");
  const std::string bytes(57, 'x');
  EXPECT_EQ(Decoded(Encoded(bytes, true)), bytes);
}

TEST(Base64Test, NewlinesInsideTheTextAreNotIgnored) {
  const std::string bytes(60, 'x');
  const std::string text = Encoded(bytes, true);
  EXPECT_THROW_TEXT(Decoded(text, true), utl_Base64CodecError, "strict checking failure");
  EXPECT_THROW_TEXT(Decoded(text, false), utl_Base64CodecError, "padding error");
}

TEST(Base64Test, TheCallersTextStaysTrimmed) {
  cow_String text("\nTWFu\n\n");
  const cow_String shared = text;
  utl_base64Decode(text, true);
  EXPECT_EQ(std::string(text), "TWFu");
  EXPECT_EQ(std::string(shared), "\nTWFu\n\n");
}

TEST(Base64Test, TheCallersTextStaysTrimmedWhenDecodingFails) {
  cow_String text("\nTQ\n");
  EXPECT_THROW_TEXT(utl_base64Decode(text, false), utl_Base64CodecError, "padding error");
  EXPECT_EQ(std::string(text), "TQ");
  cow_String other("\n \n");
  EXPECT_THROW_TEXT(utl_base64Decode(other, true), utl_Base64CodecError,
                    "strict checking failure");
  EXPECT_EQ(std::string(other), " ");
}

TEST(Base64Test, ThreadsEncodeAndDecodeAtOnce) {
  constexpr int kThreads = 4;
  StartLine start(kThreads);
  const auto run = [&start](char letter) {
    const std::string bytes(1000, letter);
    start.Wait();
    for (int i = 0; i < 200; ++i) {
      ASSERT_EQ(Decoded(Encoded(bytes)), bytes);
      ASSERT_THROW(Decoded("TQ"), utl_Base64CodecError);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back(run, static_cast<char>('a' + i));
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(Base64Test, NoMemoryForTheText) {
  const utl_Base64Codec codec(utl_base64Kernels()[0], AllocateNothing);
  const cow_String data("Man");
  EXPECT_THROW_TEXT(codec.Encode(data, false), utl_Base64CodecError,
                    "memory allocation failure");
  EXPECT_EQ(std::string(codec.Encode(cow_String(), true)), "")
      << "nothing is allocated for it";
}

TEST(Base64Test, NoMemoryForTheBytes) {
  const utl_Base64Codec codec(utl_base64Kernels()[0], AllocateNothing);
  cow_String text("\nTWFu\n");
  EXPECT_THROW_TEXT(codec.Decode(text, false), utl_Base64CodecError, "malloc failure");
  EXPECT_EQ(std::string(text), "\nTWFu\n");
}

TEST(Base64Test, ResultsEndInAZeroByteAndFitTheirBlocks) {
  const utl_Base64Codec codec(utl_base64Kernels()[0], AllocateFenced);
  for (const bool lineBreaks : {false, true}) {
    for (std::size_t size = 1; size < 200; ++size) {
      SCOPED_TRACE(size);
      const std::string bytes(size, 'x');
      cow_String text = codec.Encode(cow_String(std::string_view(bytes)), lineBreaks);
      EXPECT_EQ(std::strlen(text.c_str()), static_cast<std::size_t>(text.Length()));
      ExpectFence();
      if (!lineBreaks) {
        const cow_String back = codec.Decode(text, true);
        EXPECT_STREQ(back.c_str(), bytes.c_str());
        ExpectFence();
      }
    }
  }
}

TEST(Base64Test, TextLongerThanAStringCanBeIsRefused) {
  // A block that nobody writes to takes no memory.
  constexpr int kBytes = 1610612736;  // four thirds of it are 2^31
  cow_String data =
      cow_String::Adopt(static_cast<char*>(::operator new(kBytes + 1U)), kBytes);
  EXPECT_THROW_TEXT(utl_base64Encode(data, false), utl_Base64CodecError,
                    "memory allocation failure");
}

TEST(Base64Test, TimeGrowsAsTheTextWhateverItHas) {
  if (StepsOf([] {}) == 0) {
    GTEST_SKIP() << kNoSteps;
  }
  for (const char character : {'Q', '*'}) {
    EXPECT_TRUE(StepsGrowAsTheLength([character](std::size_t length) {
      const std::string text(length, character);
      return StepsOf([&] { Decoded(text, false); });
    })) << character;
  }
}

TEST(Base64Test, ErrorsNameTheirSource) {
  EXPECT_THROW_FROM(Decoded("="), utl_Base64CodecError, "padding error",
                    "utl/impl/utl_base64");
}

TEST(Base64Test, ErrorKeepsTheContractOfTheLibrary) {
  ExpectExceptionContract(utl_Base64CodecError("text"), "text");
}

}  // namespace
