// Base64, bit masks as text, long keys, catenated text.

#include <string>
#include <vector>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "omi/omi_BlkBitVect.h"
#include "utl/LongKey.h"
#include "utl/utl_base64.h"
#include "utl/utl_BlkBitUtils.h"
#include "utl/utl_Catenator.h"

namespace {

class Encoders : public Subject {
 public:
  void Run(Random& random, Log& log) override {
    constexpr void (Encoders::*kOperations[])(Random&, Log&) = {
        &Encoders::Encode,  &Encoders::Decode,   &Encoders::Decode,
        &Encoders::SetBits, &Encoders::ReadMask, &Encoders::ReadMask,
        &Encoders::Keys,    &Encoders::Cat,      &Encoders::Cat};
    (this->*random.Pick(kOperations))(random, log);
  }

 private:
  void Encode(Random& random, Log& log) {
    const std::string bytes =
        random.OneIn(2) ? SomeText(random) : SomeBytes(random, 0, 260);
    const bool lines = random.OneIn(2);
    const bool strict = random.OneIn(2);
    log.Call("utl_base64Encode", bytes, lines, strict).Result([&] {
      cow_String data{std::string_view(bytes)};
      cow_String text = utl_base64Encode(data, lines);
      const std::string all(text);
      const cow_String back =
          lines && bytes.size() > 57 ? cow_String() : utl_base64Decode(text, strict);
      return Verbatim{ShownAll(all, back)};
    });
  }
  void Decode(Random& random, Log& log) {
    constexpr const char* kTexts[] = {"TQ==", "TWE=", "TWFu", "=",    "==",    "T=",
                                      "TQ=x", "\n",   "!!!!", "////", "TW Fu", "T\xC3=u"};
    std::string given = SomeOf(random, "AZaz09+!", 0, 12);
    for (int left = random.Below(3); left > 0; --left) {
      given += random.Pick(kTexts);
    }
    if (random.OneIn(8)) {
      given = SomeText(random);
    }
    const bool strict = random.OneIn(2);
    cow_String text{std::string_view(given)};
    log.Call("utl_base64Decode", text, strict).Result([&] {
      return utl_base64Decode(text, strict);
    });
    log.Result([&] { return text; });
  }

  void SetBits(Random& random, Log& log) {
    constexpr std::uint32_t kBits[] = {0, 1, 31, 32, 33, 131071, 131072, 1000000};
    const std::uint32_t bit = random.OneIn(2)
                                  ? random.Pick(kBits)
                                  : static_cast<std::uint32_t>(random.Below(4000));
    const int more = random.Below(70);
    log.Call("utl_BlkBitUtils.GetMaskString", bit, more).Result([&] {
      for (int i = 0; i <= more; ++i) {
        mask_.Set(bit + static_cast<std::uint32_t>(i));
      }
      return Verbatim{ShownAll(mask_.Count(), omi_BlkBitVectTrav(mask_).Last(),
                               utl_BlkBitUtils::GetMaskString(mask_))};
    });
  }
  void ReadMask(Random& random, Log& log) {
    constexpr const char* kTexts[] = {"[#0:3 #ff ]",
                                      "#1",
                                      "#",
                                      "#-1",
                                      "#ffffffff:2",
                                      "#100000000",
                                      "#0x1f",
                                      "# 7",
                                      "#g",
                                      ":5",
                                      "#1:",
                                      "#1:-2",
                                      "#1:0",
                                      "#1 #2 #3",
                                      "]",
                                      "[",
                                      "#0:134217727 #1",
                                      "#0:134217728 #1",
                                      "#0:99999999999 #1",
                                      "#+5",
                                      "#1:+2",
                                      "#1:0x2",
                                      "#1#2:3"};
    cow_List<cow_String> pieces;
    for (int left = random.Between(0, 3); left > 0; --left) {
      const std::string piece = random.OneIn(3) ? SomeOf(random, "#01:af -x[]", 0, 20)
                                                : std::string(random.Pick(kTexts));
      pieces.Append(cow_String(std::string_view(piece)));
    }
    log.Call("utl_BlkBitUtils.GetMaskFromString", pieces).Result([&] {
      omi_BlkBitVect mask;
      utl_BlkBitUtils::GetMaskFromString(pieces, mask);
      return Verbatim{ShownAll(mask.Count(), omi_BlkBitVectTrav(mask).Last(),
                               mask.Cell(0), mask.Cell(1), mask.Cell(2))};
    });
  }

  static LongKey SomeKey(Random& random) {
    LongKey key;
    std::vector<unsigned> bits;
    for (int left = random.Below(4); left > 0; --left) {
      bits.push_back(static_cast<unsigned>(random.Below(128)));
    }
    key.setBits(static_cast<unsigned>(bits.size()), bits.data());
    return key;
  }
  static std::string ShownKey(const LongKey& key) {
    std::string bits;
    for (unsigned bit = 0; bit < 128; ++bit) {
      if (key.hasBit(bit)) {
        bits += Shown(bit) + " ";
      }
    }
    return bits;
  }
  void Keys(Random& random, Log& log) {
    const LongKey a = SomeKey(random);
    const LongKey b = random.OneIn(4) ? a : SomeKey(random);
    log.Call("LongKey", ShownKey(a), ShownKey(b)).Result([&] {
      return Verbatim{
          ShownAll(ShownKey(a | b), ShownKey(a & b), a == b, a != b, a<b, a> b)};
    });
  }

  void Cat(Random& random, Log& log) {
    const std::string text = SomeText(random);
    const int length = random.OneIn(8) ? -random.Below(3) : static_cast<int>(text.size());
    const bool erase = random.OneIn(8);
    log.Call("utl_Catenator.Cat", text, length, erase).Result([&] {
      if (erase) {
        catenator_.Erase();
      }
      catenator_.Cat(text.data(), length);
      return catenator_.GetString();
    });
  }

  omi_BlkBitVect mask_;
  utl_Catenator catenator_;
};

}  // namespace

std::unique_ptr<Subject> MakeEncoders(World&, Random&) {
  return std::make_unique<Encoders>();
}
