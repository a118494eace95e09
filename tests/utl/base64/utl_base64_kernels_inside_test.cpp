// Every kernel against a model that is nothing but the definition.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <new>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

#include "utl/impl/base64/utl_base64_codec.h"
#include "utl/utl_base64.h"

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+!";

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
    return {std::string(codec.Decode(text, strict)), ""};
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

void ExpectReadAsModel(const utl_Base64Codec& codec, const std::string& text) {
  for (const bool strict : {true, false}) {
    ASSERT_EQ(Result(codec, text, strict), ModelDecoder().Run(text, strict))
        << testing::PrintToString(text) << (strict ? " strict" : " lax");
  }
}

// No kernel sees anything of texts this short.
TEST(Base64ModelTest, EveryTextOfUpToTwoBytesIsReadAsTheModelReadsIt) {
  const utl_Base64Codec codec(utl_base64Kernels()[0], Allocate);
  for (int first = 0; first < 256; ++first) {
    ExpectReadAsModel(codec, std::string(1, static_cast<char>(first)));
    for (int second = 0; second < 256; ++second) {
      ExpectReadAsModel(codec, {static_cast<char>(first), static_cast<char>(second)});
    }
  }
}

unsigned char* Bytes(char* block) {
  return reinterpret_cast<unsigned char*>(block);
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
    ASSERT_EQ(std::string(codec_.Encode(data, false)), text);
    ASSERT_EQ(std::string(codec_.Encode(data, true)), ModelEncoded(bytes, true));
    ASSERT_EQ(Result(codec_, text, true), (ModelResult{bytes, ""}));
    ASSERT_EQ(Result(codec_, text, false), (ModelResult{bytes, ""}));
  }

  void ExpectAsModel(const std::string& text) const { ExpectReadAsModel(codec_, text); }

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

TEST_P(Base64KernelTest, EveryShortTextIsReadAsTheModelReadsIt) {
  // All that means something, in every order.
  const std::string_view characters("ABz!=/\n\0\x80", 9);
  for (std::size_t size = 0, count = 1; size <= 4; ++size, count *= characters.size()) {
    for (std::size_t i = 0; i < count; ++i) {
      std::string text;
      for (std::size_t rest = i, k = 0; k < size; ++k, rest /= characters.size()) {
        text += characters[rest % characters.size()];
      }
      ExpectAsModel(text);
      ExpectAsModel("TWFu" + text);
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
    ASSERT_EQ(text, ModelEncoded(bytes, false));
    std::string back(3 * groups + 1, '#');
    ASSERT_EQ(kernel_.decode(reinterpret_cast<const unsigned char*>(text.data()), groups,
                             reinterpret_cast<unsigned char*>(back.data())),
              groups);
    ASSERT_EQ(back, bytes + "#");
  }
}

TEST_P(Base64KernelTest, OnlyTheGroupsAskedForAreReadAndWritten) {
  constexpr std::size_t kMore = 20;
  std::string bytes(3 * (130 + kMore), 'x');
  std::string text = ModelEncoded(bytes, false);
  for (std::size_t groups = 0; groups <= 130; ++groups) {
    std::string encoded(4 * (groups + kMore), ' ');
    kernel_.encode(Bytes(bytes.data()), groups, encoded.data());
    ASSERT_EQ(encoded, text.substr(0, 4 * groups) + std::string(4 * kMore, ' '));
    std::string decoded(3 * (groups + kMore), '#');
    ASSERT_EQ(kernel_.decode(Bytes(text.data()), groups, Bytes(decoded.data())), groups);
    ASSERT_EQ(decoded, bytes.substr(0, 3 * groups) + std::string(3 * kMore, '#'));
  }
}

// Enough for whole registers and a rest.
constexpr std::size_t kGroups = 40;

TEST_P(Base64KernelTest, DecodingStopsAtTheFirstGroupWithAnotherByte) {
  std::string text(4 * kGroups, 'A');
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      text[at] = static_cast<char>(byte);
      const bool other = kAlphabet.find(text[at]) == std::string_view::npos;
      const std::size_t groups = other ? at / 4 : kGroups;
      std::array<unsigned char, 3 * kGroups> bytes;
      bytes.fill('#');
      ASSERT_EQ(kernel_.decode(Bytes(text.data()), kGroups, bytes.data()), groups);
      const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(3 * groups);
      ASSERT_TRUE(std::all_of(end, bytes.end(), [](int b) { return b == '#'; }))
          << "behind the " << groups << " groups";
    }
    text[at] = 'A';
  }
}

TEST_P(Base64KernelTest, EveryCharacterInEveryPlace) {
  for (std::size_t at = 0; at < 4 * kGroups; ++at) {
    for (std::size_t value = 0; value < 64; ++value) {
      std::string text(4 * kGroups, 'k');
      text[at] = kAlphabet[value];
      std::string bytes(3 * kGroups, ' ');
      ASSERT_EQ(kernel_.decode(Bytes(text.data()), kGroups, Bytes(bytes.data())),
                kGroups);
      ASSERT_EQ(text, ModelEncoded(bytes, false));
      std::string back(4 * kGroups, ' ');
      kernel_.encode(Bytes(bytes.data()), kGroups, back.data());
      ASSERT_EQ(back, text);
    }
  }
}

TEST_P(Base64KernelTest, BlocksMayBeginAnywhere) {
  std::mt19937 random(4);
  for (std::size_t from = 0; from < 64; ++from) {
    for (const std::size_t groups : {1u, 7u, 11u, 16u, 33u, 70u}) {
      const std::string bytes = RandomBytes(random, 3 * groups);
      alignas(64) std::array<char, 64 + 3 * 70> source;
      alignas(64) std::array<char, 64 + 4 * 70> text;
      std::copy(bytes.begin(), bytes.end(), source.begin() + from);
      kernel_.encode(Bytes(&source[from]), groups, &text[from]);
      ASSERT_EQ(std::string_view(&text[from], 4 * groups), ModelEncoded(bytes, false));
      source.fill(' ');
      ASSERT_EQ(kernel_.decode(Bytes(&text[from]), groups, Bytes(&source[from])), groups);
      ASSERT_EQ(std::string_view(&source[from], 3 * groups), bytes);
    }
  }
}

}  // namespace
