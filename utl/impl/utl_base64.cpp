#include "utl/utl_base64.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "atr/atr_translate.h"
#include "utl/impl/base64/utl_base64_codec.h"
#include "utl/impl/base64/utl_base64_kernels.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_base64";

constexpr std::size_t kLineBytes = 57;  // 76 characters

[[noreturn]] void Fail(const char* message, int line = __builtin_LINE()) {
  utl_Base64CodecError(atr_translate(message).Result()).Throw(kSource, line);
}

struct BlockDeleter {
  void operator()(char* block) const { ::operator delete(block); }
};
using Block = std::unique_ptr<char, BlockDeleter>;

void* AllocateOrNull(std::size_t size) {
  return ::operator new(size, std::nothrow);
}

// The decoder's state from character to character.
class Decoder {
 public:
  Decoder(const cow_String& text, bool strict, char* target)
      : text_(reinterpret_cast<const unsigned char*>(text.c_str())),
        length_(static_cast<std::size_t>(text.Length())),
        strict_(strict),
        target_(reinterpret_cast<unsigned char*>(target)),
        end_(target_) {}

  int Produced() const { return static_cast<int>(end_ - target_); }

  // Converts groups without anything special at once, the others character by character.
  void Run(const utl_Base64Kernel& kernel) {
    do {
      if (index_ % 4 == 0) {
        RunGroups(kernel);
      }
    } while (Take(kBase64Values[text_[index_]]));
  }

 private:
  void RunGroups(const utl_Base64Kernel& kernel) {
    const std::size_t groups =
        kernel.decode(text_ + index_, (length_ - index_) / 4, end_);
    if (groups > 0) {
      index_ += 4 * groups;
      end_ += 3 * groups;
      std::memcpy(built_.data(), end_ - 3, 3);
    }
  }

  // Takes the character at the index, which may be the zero byte that ends the text.
  // False when it was the last.
  bool Take(int meaning) {
    switch (meaning) {
      case kBase64End:
        if (index_ % 4 != 0) {
          Fail("padding error");
        }
        return false;
      case kBase64Padding:
        TakePadding();
        return false;
      case kBase64Invalid:
        if (strict_) {
          Fail("strict checking failure");
        }
        break;
      default:
        TakeValue(static_cast<unsigned int>(meaning));
    }
    ++index_;
    return true;
  }

  void TakeValue(unsigned int value) {
    switch (index_ % 4) {
      case 0:
        built_[0] = static_cast<unsigned char>(value << 2);
        break;
      case 1:
        built_[0] = static_cast<unsigned char>(built_[0] | value >> 4);
        built_[1] = static_cast<unsigned char>(value << 4);
        break;
      case 2:
        built_[1] = static_cast<unsigned char>(built_[1] | value >> 2);
        built_[2] = static_cast<unsigned char>(value << 6);
        break;
      default:
        built_[2] = static_cast<unsigned char>(built_[2] | value);
        Produce(3);
    }
  }

  void TakePadding() {
    const std::size_t place = index_ % 4;
    if (place < 2 || (place == 2 && text_[index_ + 1] != '=')) {
      Fail("padding error");
    }
    Produce(place - 1);
  }

  void Produce(std::size_t count) { end_ = std::copy_n(built_.data(), count, end_); }

  const unsigned char* const text_;
  const std::size_t length_;
  const bool strict_;
  unsigned char* const target_;
  unsigned char* end_;
  std::size_t index_ = 0;
  std::array<unsigned char, 3> built_{};
};

const utl_Base64Codec& Codec() {
  static const utl_Base64Codec codec(
      *std::find_if(utl_base64Kernels().rbegin(), utl_base64Kernels().rend(),
                    [](const utl_Base64Kernel& kernel) { return kernel.available; }),
      AllocateOrNull);
  return codec;
}

}  // namespace

std::span<const utl_Base64Kernel> utl_base64Kernels() {
  static const std::array<utl_Base64Kernel, 4> kernels = {{
      {"plain", utl_base64EncodePlain, utl_base64DecodePlain, true},
      {"table", utl_base64EncodeTable, utl_base64DecodeTable, true},
      {"avx2", utl_base64EncodeAvx2, utl_base64DecodeAvx2, utl_base64HasAvx2()},
      {"avx512", utl_base64EncodeAvx512, utl_base64DecodeAvx512, utl_base64HasAvx512()},
  }};
  return kernels;
}

// The characters of one line, padding included; returns their end.
char* utl_Base64Codec::EncodeLine(const unsigned char* bytes, std::size_t count,
                                  char* text) const {
  const std::size_t groups = count / 3;
  const std::size_t left = count % 3;
  kernel_.encode(bytes, groups, text);
  text += 4 * groups;
  if (left > 0) {
    std::array<unsigned char, 3> last{};
    std::copy_n(bytes + 3 * groups, left, last.data());
    kernel_.encode(last.data(), 1, text);
    std::fill_n(text + left + 1, 3 - left, '=');
    text += 4;
  }
  return text;
}

cow_String utl_Base64Codec::Encode(const cow_String& data, bool lineBreaks) const {
  auto left = static_cast<std::size_t>(data.Length());
  if (left == 0) {
    return {};
  }
  const std::size_t newlines = lineBreaks ? (left + kLineBytes - 1) / kLineBytes : 0;
  const std::size_t length = 4 * ((left + 2) / 3) + newlines;
  Block block;
  if (length <= std::numeric_limits<int>::max()) {
    block.reset(static_cast<char*>(allocate_(length + 1)));
  }
  if (!block) {
    Fail("memory allocation failure");
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(data.c_str());
  char* text = block.get();
  while (left > 0) {
    const std::size_t count = lineBreaks ? std::min(left, kLineBytes) : left;
    text = EncodeLine(bytes, count, text);
    if (lineBreaks) {
      *text++ = '\n';
    }
    bytes += count;
    left -= count;
  }
  *text = '\0';
  return cow_String::Adopt(block.release(), static_cast<int>(length));
}

cow_String utl_Base64Codec::Decode(cow_String& text, bool strict) const {
  // Enough for every group of four, incomplete ones included; the last one's padding
  // leaves room for the terminating zero.
  const std::size_t size = (static_cast<std::size_t>(text.Length()) / 4 + 1) * 3;
  Block block(static_cast<char*>(allocate_(size)));
  if (!block) {
    Fail("malloc failure");
  }
  text.Trim("\n");
  Decoder decoder(text, strict, block.get());
  decoder.Run(kernel_);
  block.get()[decoder.Produced()] = '\0';
  return cow_String::Adopt(block.release(), decoder.Produced());
}

cow_String utl_base64Encode(cow_String& data, bool lineBreaks) {
  return Codec().Encode(data, lineBreaks);
}

cow_String utl_base64Decode(cow_String& text, bool strict) {
  return Codec().Decode(text, strict);
}

utl_Base64CodecError::utl_Base64CodecError(const atr_String& message)
    : nex_TextException(message) {}

void utl_Base64CodecError::Propagate() const {
  throw *this;
}
