#include "utl/utl_base64.h"

#include <gtest/gtest.h>

#include <bitset>
#include <new>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

#include "common/ExceptionContract.h"
#include "common/ExpectThrow.h"
#include "utl/impl/utl_base64_codec.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+!";

std::string Text(const cow_String& string) {
  return std::string(std::string_view(string));
}

std::string Encoded(std::string_view bytes, bool lineBreaks = false) {
  cow_String data(bytes);
  return Text(utl_base64Encode(data, lineBreaks));
}

std::string Decoded(std::string_view characters, bool strict = true) {
  cow_String text(characters);
  return Text(utl_base64Decode(text, strict));
}

// The model: a text is a row of bits, six a character, and nothing but that.

std::string ModelEncoded(std::string_view bytes, bool lineBreaks) {
  std::string bits;
  for (const char byte : bytes) {
    bits += std::bitset<8>(static_cast<unsigned char>(byte)).to_string();
  }
  bits.resize((bits.size() + 5) / 6 * 6, '0');
  std::string text;
  for (std::size_t at = 0; at < bits.size(); at += 6) {
    text += kAlphabet[std::bitset<6>(bits, at, 6).to_ulong()];
  }
  text.resize((text.size() + 3) / 4 * 4, '=');
  if (lineBreaks) {
    for (std::size_t at = 76; at < text.size(); at += 77) {
      text.insert(at, 1, '\n');
    }
    text += bytes.empty() ? "" : "\n";
  }
  return text;
}

struct ModelResult {
  std::string bytes;
  std::string error;
};

bool operator==(const ModelResult& a, const ModelResult& b) {
  return a.bytes == b.bytes && a.error == b.error;
}

std::ostream& operator<<(std::ostream& out, const ModelResult& result) {
  return out << "error \"" << result.error << "\", bytes "
             << testing::PrintToString(result.bytes);
}

// Twenty-four bits under construction. A character that comes first in a byte clears
// the byte's other bits, a later one only adds its own.
class ModelDecoder {
 public:
  ModelResult Run(std::string_view text, bool strict) {
    text = text.substr(std::min(text.find_first_not_of('\n'), text.size()));
    text = text.substr(0, text.find_last_not_of('\n') + 1);
    text = text.substr(0, text.find('\0'));
    for (std::size_t i = 0; i < text.size(); ++i) {
      const std::size_t place = i % 4;
      const std::size_t value = kAlphabet.find(text[i]);
      if (value != std::string_view::npos) {
        Put(6 * place, std::bitset<6>(value).to_string());
        if (place == 3) {
          Emit(3);
        }
      } else if (text[i] == '=') {
        const bool fits = place == 3 || (place == 2 && text.substr(i + 1, 1) == "=");
        return fits ? Emit(place - 1) : Error("padding error");
      } else if (strict) {
        return Error("strict checking failure");
      }
    }
    return text.size() % 4 == 0 ? ModelResult{bytes_, ""} : Error("padding error");
  }

 private:
  static ModelResult Error(const char* message) { return {"", message}; }

  void Put(std::size_t at, const std::string& six) {
    for (std::size_t i = at; i < at + 6; ++i) {
      bits_[i] = i / 8 * 8 >= at ? six[i - at] : std::max(bits_[i], six[i - at]);
    }
    const std::size_t byteEnd = (at + 5) / 8 * 8 + 8;
    std::fill(bits_.begin() + static_cast<int>(at) + 6,
              bits_.begin() + static_cast<int>(byteEnd), '0');
  }

  ModelResult Emit(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      bytes_ += static_cast<char>(std::bitset<8>(bits_, 8 * i, 8).to_ulong());
    }
    return {bytes_, ""};
  }

  std::string bits_ = std::string(24, '0');
  std::string bytes_;
};

ModelResult Result(const utl_Base64Codec& codec, std::string_view characters,
                   bool strict) {
  cow_String text(characters);
  try {
    return {Text(codec.Decode(text, strict)), ""};
  } catch (const utl_Base64CodecError& error) {
    return {"", error.AsString().c_str()};
  }
}

std::string RandomText(std::mt19937& random, std::size_t size, std::string_view from) {
  std::string text(size, ' ');
  for (char& c : text) {
    c = from[random() % from.size()];
  }
  return text;
}

std::string RandomBytes(std::mt19937& random, std::size_t size) {
  std::string bytes(size, ' ');
  for (char& c : bytes) {
    c = static_cast<char>(random());
  }
  return bytes;
}

void* Allocate(std::size_t size) {
  return ::operator new(size);
}

void* AllocateNothing(std::size_t) {
  return nullptr;
}

class Base64KernelTest : public testing::TestWithParam<std::size_t> {
 protected:
  void SetUp() override {
    if (!kernel_.available) {
      GTEST_SKIP() << "this processor has no " << kernel_.name;
    }
  }

  void ExpectRoundTrip(const std::string& bytes) const {
    const cow_String data{std::string_view(bytes)};
    const std::string text = ModelEncoded(bytes, false);
    ASSERT_EQ(text, Text(codec_.Encode(data, false)));
    ASSERT_EQ(ModelEncoded(bytes, true), Text(codec_.Encode(data, true)));
    ASSERT_EQ((ModelResult{bytes, ""}), Result(codec_, text, true));
    ASSERT_EQ((ModelResult{bytes, ""}), Result(codec_, text, false));
  }

  void ExpectAsModel(const std::string& text) const {
    for (const bool strict : {true, false}) {
      ASSERT_EQ(ModelDecoder().Run(text, strict), Result(codec_, text, strict))
          << testing::PrintToString(text) << (strict ? " strict" : " lax");
    }
  }

  const utl_Base64Kernel& kernel_ = utl_base64Kernels()[GetParam()];
  const utl_Base64Codec codec_{kernel_, Allocate};
};

INSTANTIATE_TEST_SUITE_P(AllKernels, Base64KernelTest,
                         testing::Range(std::size_t{0}, utl_base64Kernels().size()),
                         [](const auto& instance) {
                           return std::string(utl_base64Kernels()[instance.param].name);
                         });

TEST_P(Base64KernelTest, EveryStringOfUpToTwoBytesThereAndBack) {
  ExpectRoundTrip("");
  for (int first = 0; first < 256; ++first) {
    ExpectRoundTrip(std::string(1, static_cast<char>(first)));
    for (int second = 0; second < 256; ++second) {
      ExpectRoundTrip({static_cast<char>(first), static_cast<char>(second)});
    }
  }
}

TEST_P(Base64KernelTest, EveryTextOfUpToTwoBytesIsReadAsTheModelReadsIt) {
  for (int first = 0; first < 256; ++first) {
    ExpectAsModel(std::string(1, static_cast<char>(first)));
    for (int second = 0; second < 256; ++second) {
      ExpectAsModel({static_cast<char>(first), static_cast<char>(second)});
    }
  }
}

TEST_P(Base64KernelTest, EveryShortTextIsReadAsTheModelReadsIt) {
  // All that means something, in every order.
  const std::string_view characters("ABz!=/\n\0\x80", 9);
  for (std::size_t size = 0, count = 1; size <= 5; ++size, count *= characters.size()) {
    for (std::size_t i = 0; i < count; ++i) {
      std::string text;
      for (std::size_t rest = i, k = 0; k < size; ++k, rest /= characters.size()) {
        text += characters[rest % characters.size()];
      }
      ExpectAsModel(text);
    }
  }
}

TEST_P(Base64KernelTest, RandomBytesThereAndBack) {
  std::mt19937 random(1);
  for (std::size_t size = 0; size <= 300; ++size) {
    ExpectRoundTrip(RandomBytes(random, size));
  }
  for (int round = 0; round < 200; ++round) {
    ExpectRoundTrip(RandomBytes(random, random() % 4097));
  }
}

TEST_P(Base64KernelTest, DamagedTextsAreReadAsTheModelReadsThem) {
  std::mt19937 random(2);
  for (int round = 0; round < 3000; ++round) {
    std::string text = ModelEncoded(RandomBytes(random, random() % 600), false);
    for (std::size_t damage = random() % 4; damage > 0 && !text.empty(); --damage) {
      const std::size_t at = random() % text.size();
      switch (random() % 3) {
        case 0:
          text[at] = static_cast<char>(random());
          break;
        case 1:
          text.insert(at, RandomText(random, 1, std::string_view("=\n/\0", 4)));
          break;
        default:
          text.erase(at, random() % 5);
      }
    }
    ExpectAsModel(text);
  }
}

TEST_P(Base64KernelTest, LongDamagedTextsAreReadAsTheModelReadsThem) {
  std::mt19937 random(3);
  for (int round = 0; round < 100; ++round) {
    std::string text = ModelEncoded(RandomBytes(random, random() % 4097), round % 2 != 0);
    ExpectAsModel(text);
    if (!text.empty()) {
      text[random() % text.size()] = static_cast<char>(random());
      ExpectAsModel(text);
    }
  }
}

// Blocks that end where their allocation ends: a sanitizer sees anything beyond.
TEST_P(Base64KernelTest, NothingOutsideTheBlocksIsTouched) {
  for (std::size_t groups = 0; groups <= 130; ++groups) {
    const std::string bytes(3 * groups, 'x');
    std::string text(4 * groups, ' ');
    kernel_.encode(reinterpret_cast<const unsigned char*>(bytes.data()), groups,
                   text.data());
    ASSERT_EQ(ModelEncoded(bytes, false), text);
    std::string back(3 * groups + 1, '#');
    ASSERT_EQ(groups,
              kernel_.decode(reinterpret_cast<const unsigned char*>(text.data()), groups,
                             reinterpret_cast<unsigned char*>(back.data())));
    ASSERT_EQ(bytes + "#", back);
  }
}

TEST_P(Base64KernelTest, DecodingStopsAtTheFirstGroupWithAnotherByte) {
  std::string text(4 * 130, 'A');
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (const char other : {'=', '/', '\0', '\n', '\x80', '\xFF', '-', '_', '@', '[',
                             '`', '{', ',', ' ', '"', '\x1F', ':'}) {
      text[at] = other;
      std::string bytes(3 * 130, '#');
      ASSERT_EQ(at / 4, kernel_.decode(reinterpret_cast<unsigned char*>(text.data()), 130,
                                       reinterpret_cast<unsigned char*>(bytes.data())));
      ASSERT_EQ(std::string(3 * (at / 4), '\0'), bytes.substr(0, 3 * (at / 4)));
    }
    text[at] = 'A';
  }
}

TEST(Base64Test, GroupsOfThreeBytes) {
  EXPECT_EQ("TWFu", Encoded("Man"));
  EXPECT_EQ("!!!!", Encoded("\xFF\xFF\xFF"));
  EXPECT_EQ("AAAA", Encoded(std::string(3, '\0')));
  EXPECT_EQ("++++", Encoded("\xFB\xEF\xBE"));
}

TEST(Base64Test, BytesLeftOverArePadded) {
  EXPECT_EQ("TQ==", Encoded("M"));
  EXPECT_EQ("TWE=", Encoded("Ma"));
  EXPECT_EQ("TWFuTQ==", Encoded("ManM"));
}

TEST(Base64Test, EveryCharacterOfTheAlphabetInItsPlace) {
  std::string bytes;
  for (unsigned value = 0; value < 64; value += 4) {
    const unsigned group =
        value << 18 | (value + 1) << 12 | (value + 2) << 6 | (value + 3);
    bytes += {static_cast<char>(group >> 16), static_cast<char>(group >> 8),
              static_cast<char>(group)};
  }
  EXPECT_EQ(kAlphabet, Encoded(bytes));
  EXPECT_EQ(bytes, Decoded(kAlphabet));
}

TEST(Base64Test, EncodingLeavesTheCallersBytes) {
  cow_String data("\nMan\n");
  utl_base64Encode(data, true);
  EXPECT_EQ("\nMan\n", Text(data));
}

TEST(Base64Test, NoBytesGiveAnEmptyText) {
  EXPECT_EQ("", Encoded("", false));
  EXPECT_EQ("", Encoded("", true));
}

TEST(Base64Test, LinesOf76CharactersEachWithItsNewline) {
  const std::string line(76, 'A');
  EXPECT_EQ(line + "\n", Encoded(std::string(57, '\0'), true));
  EXPECT_EQ(line + "\nAA==\n", Encoded(std::string(58, '\0'), true));
  EXPECT_EQ(line + "\nAAA=\n", Encoded(std::string(59, '\0'), true));
  EXPECT_EQ(line + "\nAAAA\n", Encoded(std::string(60, '\0'), true));
  EXPECT_EQ(line + "\n" + line + "\n", Encoded(std::string(114, '\0'), true));
  EXPECT_EQ(line.substr(0, 72) + "AAA=\n", Encoded(std::string(56, '\0'), true));
  EXPECT_EQ("AA==\n", Encoded(std::string(1, '\0'), true));
}

TEST(Base64Test, PaddingEndsTheBytesWhateverFollows) {
  EXPECT_EQ("M", Decoded("TQ=="));
  EXPECT_EQ("Ma", Decoded("TWE="));
  EXPECT_EQ("M", Decoded("TQ==/=\x80"));
  EXPECT_EQ("Ma", Decoded("TWE=T"));
}

TEST(Base64Test, EmptyTextGivesNoBytes) {
  EXPECT_EQ("", Decoded(""));
  EXPECT_EQ("", Decoded("\n\n"));
}

TEST(Base64Test, ZeroByteEndsTheText) {
  EXPECT_EQ("Man", Decoded(std::string_view("TWFu\0/", 6)));
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
  EXPECT_EQ("\x4D\x60\x2E", Decoded("TW/u", false));
  EXPECT_EQ("", Decoded("////", false));
  EXPECT_EQ("", Decoded("TWF/", false)) << "nothing completes the group";
}

TEST(Base64Test, BytesUnderConstructionLastFromGroupToGroup) {
  // The second group has no second character: its first byte lacks two bits, its second
  // still is that of the group before.
  EXPECT_EQ(
      "Man\x4C"
      "a"
      "n",
      Decoded("TWFuT/Fu", false));
}

TEST(Base64Test, OneLineIsDecodedWithTheNewlinesAroundIt) {
  EXPECT_EQ("Man", Decoded("\n\nTWFu\n"));
  const std::string bytes(57, 'x');
  EXPECT_EQ(bytes, Decoded(Encoded(bytes, true)));
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
  EXPECT_EQ("TWFu", Text(text));
  EXPECT_EQ("\nTWFu\n\n", Text(shared));
}

TEST(Base64Test, TheCallersTextStaysTrimmedWhenDecodingFails) {
  cow_String text("\nTQ\n");
  EXPECT_THROW_TEXT(utl_base64Decode(text, false), utl_Base64CodecError, "padding error");
  EXPECT_EQ("TQ", Text(text));
  cow_String other("\n \n");
  EXPECT_THROW_TEXT(utl_base64Decode(other, true), utl_Base64CodecError,
                    "strict checking failure");
  EXPECT_EQ(" ", Text(other));
}

TEST(Base64Test, NoMemoryForTheText) {
  const utl_Base64Codec codec(utl_base64Kernels()[0], AllocateNothing);
  const cow_String data("Man");
  EXPECT_THROW_TEXT(codec.Encode(data, false), utl_Base64CodecError,
                    "memory allocation failure");
  EXPECT_EQ("", Text(codec.Encode(cow_String(), true))) << "nothing is allocated for it";
}

TEST(Base64Test, NoMemoryForTheBytes) {
  const utl_Base64Codec codec(utl_base64Kernels()[0], AllocateNothing);
  cow_String text("\nTWFu\n");
  EXPECT_THROW_TEXT(codec.Decode(text, false), utl_Base64CodecError, "malloc failure");
  EXPECT_EQ("\nTWFu\n", Text(text));
}

TEST(Base64Test, TextLongerThanAStringCanBeIsRefused) {
  // A block that nobody writes to takes no memory.
  constexpr int kBytes = 1610612736;  // four thirds of it are 2^31
  cow_String data =
      cow_String::Adopt(static_cast<char*>(::operator new(kBytes + 1U)), kBytes);
  EXPECT_THROW_TEXT(utl_base64Encode(data, false), utl_Base64CodecError,
                    "memory allocation failure");
}

TEST(Base64Test, ErrorsNameTheirSource) {
  try {
    Decoded("=", true);
    FAIL();
  } catch (const nex_TextException& error) {
    EXPECT_STREQ("utl/impl/utl_base64", error.SourceFile());
    EXPECT_GT(error.SourceLine(), 0);
  }
}

TEST(Base64Test, ErrorKeepsTheContractOfTheLibrary) {
  ExpectExceptionContract(utl_Base64CodecError("text"), "text");
}

}  // namespace
