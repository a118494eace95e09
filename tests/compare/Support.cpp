// What the support libraries show in the library's interfaces: strings, messages, sizes,
// streams into files.

#include <string>

#include "aio/aio_ofstream.h"
#include "atr/atr_naturalOrder.h"
#include "atr/atr_translate.h"
#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "omi/omi_strtoSizeT.h"
#include "omi/omi_SystemErrorCode.h"

namespace {

class Support : public Subject {
 public:
  explicit Support(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    constexpr void (Support::*kOperations[])(Random&, Log&) = {
        &Support::Strings, &Support::Strings, &Support::Messages, &Support::Order,
        &Support::Sizes,   &Support::Codes,   &Support::Output,   &Support::Output};
    (this->*random.Pick(kOperations))(random, log);
  }

  void Close() override { output_.Release(); }

 private:
  static cow_String SomeString(Random& random) {
    return cow_String(std::string_view(SomeText(random)));
  }

  void Strings(Random& random, Log& log) {
    const cow_String text = SomeString(random);
    const cow_String other = SomeString(random);
    const int from = random.OneIn(3) ? SomeInt(random) : random.Between(-1, 12);
    const int length = random.OneIn(3) ? SomeInt(random) : random.Between(-1, 12);
    log.Call("cow_String", text, other, from, length).Result([&] {
      cow_String inserted = text;
      cow_String removed = text;
      cow_String trimmed = text;
      cow_String replaced = text;
      return Verbatim{ShownAll(text.Find(other, from), text.FindLast(other[0]),
                               text.Substr(from, length), text == other, text < other,
                               inserted.Insert(from, other), removed.Remove(from, length),
                               trimmed.Trim(other.c_str()),
                               replaced.Replace('a', other[0]), text + other)};
    });
  }
  void Messages(Random& random, Log& log) {
    constexpr const char* kTemplates[] = {
        "%1$s, %2$s", "%s and %s", "%2$s%1$s%1$u", "%3$s",       "%%1$s",
        "%",          "%1$",       "%10$s",        "%u %s %1$s", "plain"};
    const char* const pattern = random.Pick(kTemplates);
    const std::string first = SomeText(random);
    const int second = SomeInt(random);
    const int position = random.Between(-1, 11);
    log.Call("atr_translate", pattern, first, second, position).Result([&] {
      atr_translate text(pattern);
      atr_SubstituteFormat(text, 1, first);
      atr_SubstituteFormat(text, position, second);
      return std::string(text.Result().c_str());
    });
  }
  void Order(Random& random, Log& log) {
    const cow_String a = SomeString(random);
    const cow_String b = SomeString(random);
    log.Call("strnatcmp", a, b).Result([&] {
      const int order = strnatcmp(a.c_str(), b.c_str());
      return Verbatim{ShownAll(order<0, order> 0)};
    });
  }
  void Sizes(Random& random, Log& log) {
    constexpr const char* kTexts[] = {
        "42x", "-1", " 42", "18446744073709551615", "18446744073709551616",
        "",    "+1", "0x10"};
    const std::string text =
        random.OneIn(2) ? SomeOf(random, "0123456789", 0, 24) : random.Pick(kTexts);
    log.Call("omi_strtoSizeT", text).Result([&] { return omi_strtoSizeT(text.c_str()); });
  }
  // The codes that the library meets.
  void Codes(Random& random, Log& log) {
    constexpr int kSystem[] = {0,   1,   2,   3,   4,   5,   6,   8,   18,
                               19,  25,  31,  32,  33,  38,  80,  87,  112,
                               122, 123, 126, 131, 183, 206, 232, 267, -1};
    constexpr int kRunTime[] = {0, 2, 5, 9, 12, 13, 17, 20, 21, 22, 24, 27, 28, 30, 32};
    const int kind = random.Below(2);
    const int code = kind == omi_SystemErrorCode::kSystem ? random.Pick(kSystem)
                                                          : random.Pick(kRunTime);
    log.Call("omi_SystemErrorCode.Text", kind, code).Result([&] {
      return omi_SystemErrorCode(kind, code).Text();
    });
  }
  void Output(Random& random, Log& log) {
    const std::string path = SomePath(world_, random);
    const std::string text = SomeText(random);
    const int what = output_ ? random.Below(6) : 0;
    log.Call("aio_ofstream", what, path, text).Result([&] {
      switch (what) {
        case 0:
          output_.Make(path.c_str());
          break;
        case 1:
          output_->flush();
          break;
        case 2:
          output_->close();
          break;
        default:
          output_->write(text.data(), static_cast<int>(text.size()));
      }
      return output_->good();
    });
  }

  World& world_;
  Slot<aio_ofstream> output_;
};

}  // namespace

std::unique_ptr<Subject> MakeSupport(World& world, Random&) {
  return std::make_unique<Support>(world);
}
