// Binary streams on a file: one written, one read, the reader often wrong about what
// comes next.

#include <cstdint>
#include <string>
#include <vector>

#include "compare/Inputs.h"
#include "compare/Stream.h"
#include "compare/Subject.h"
#include "utl/utl_BinStream.h"

namespace {

class BinStreams : public Subject {
 public:
  explicit BinStreams(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    switch (random.Below(8)) {
      case 0:
        return OpenOutput(random, log);
      case 1:
        return OpenInput(random, log);
      case 2:
      case 3:
      case 4:
        return Write(random, log);
      default:
        return Read(random, log);
    }
  }

  void Close() override {
    output_.Release();
    input_.Release();
  }

 private:
  std::string Path() const { return world_.directory + "/stream"; }

  // A descriptor that is open, sometimes for the other direction, or one that is not.
  static int Wrong(Random& random, int descriptor) {
    constexpr int kBad[] = {-1, 1000, 2147483647};
    return random.OneIn(12) ? random.Pick(kBad) : descriptor;
  }

  void OpenOutput(Random& random, Log& log) {
    constexpr const char* kModes[] = {"wb", "wb", "ab", "r+b", "rb"};
    const char* const mode = random.Pick(kModes);
    const auto order = static_cast<omi_Swapper::EndianType>(random.Below(2));
    log.Call("utl_BinOStream.utl_BinOStream", mode).Result([&] {
      output_.Make(Path(), mode);
      utl_BinOStream(output_->Descriptor(), order);
    });
  }
  void OpenInput(Random& random, Log& log) {
    constexpr const char* kModes[] = {"rb", "rb", "rb", "r+b", "ab"};
    const char* const mode = random.Pick(kModes);
    const auto order = static_cast<omi_Swapper::EndianType>(random.Below(2));
    log.Call("utl_BinIStream.utl_BinIStream", mode).Result([&] {
      input_.Make(Path(), mode);
      utl_BinIStream(input_->Descriptor(), order);
    });
  }

  void Write(Random& random, Log& log) {
    const int descriptor = Wrong(random, output_ ? output_->Descriptor() : -1);
    const int kind = random.Below(12);
    const int number = SomeInt(random);
    const std::string text = SomeText(random);
    const std::uint64_t bits = random.Next();
    const double real = SomeDouble(random);
    const int count = random.Between(-1, 3);
    log.Call("utl_BinOStream.Write", kind, number, text, bits, real, count).Result([&] {
      WriteOne(descriptor, kind, number, text, bits, real, count);
    });
  }
  static void WriteOne(int descriptor, int kind, int number, const std::string& text,
                       std::uint64_t bits, double real, int count) {
    utl_BinOStream out(descriptor, omi_Swapper::kLittleEndian);
    const int ints[] = {number, -number, 1};
    const float floats[] = {static_cast<float>(number), 0.5F, 1e30F};
    const double doubles[] = {real, -real, 0.25};
    switch (kind) {
      case 0:
        return out.Write(text.data(), count < 0 ? count : static_cast<int>(text.size()));
      case 1:
        return out.WriteSchar(static_cast<char>(number));
      case 2:
        return out.WriteUchar(static_cast<unsigned char>(number));
      case 3:
        return out.WriteShort(static_cast<short>(number));
      case 4:
        return out.WriteUShort(static_cast<unsigned short>(number));
      case 5:
        return out.WriteInt(number);
      case 6:
        return out.WriteUInt(static_cast<unsigned>(number));
      case 7:
        return out.WriteInt64(static_cast<std::int64_t>(bits));
      case 8:
        return out.WriteUInt64(bits);
      case 9:
        return out.WriteString(cow_String(std::string_view(text)));
      case 10:
        out.WriteIntArray(ints, count);
        return out.WriteFloatArray(floats, count);
      default:
        return out.WriteDoubleArray(doubles, count);
    }
  }

  void Read(Random& random, Log& log) {
    const int descriptor = Wrong(random, input_ ? input_->Descriptor() : -1);
    const int kind = random.Below(12);
    const int count = random.Between(-1, 3);
    log.Call("utl_BinIStream.Read", kind, count).Result([&] {
      return Verbatim{ReadOne(descriptor, kind, count)};
    });
  }
  static std::string ReadOne(int descriptor, int kind, int count) {
    utl_BinIStream in(descriptor, omi_Swapper::kBigEndian);
    char bytes[3] = {};
    int ints[3] = {};
    float floats[3] = {};
    double doubles[3] = {};
    switch (kind) {
      case 0:
        in.Read(bytes, count);
        return Shown(cow_String(bytes, 3));
      case 1:
        return Shown(in.ReadSchar());
      case 2:
        return Shown(in.ReadUchar());
      case 3:
        return Shown(in.ReadShort());
      case 4:
        return Shown(in.ReadUShort());
      case 5:
        return Shown(in.ReadInt());
      case 6:
        return Shown(in.ReadUInt());
      case 7:
        return Shown(in.ReadInt64());
      case 8:
        return Shown(in.ReadUInt64());
      case 9:
        return Shown(in.ReadString());
      case 10:
        in.ReadIntArray(ints, count);
        in.ReadFloatArray(floats, count);
        return ShownAll(ints[0], ints[1], ints[2], floats[0], floats[1], floats[2]);
      default:
        in.ReadDoubleArray(doubles, count);
        return ShownAll(doubles[0], doubles[1], doubles[2]);
    }
  }

  World& world_;
  Slot<Stream> output_;
  Slot<Stream> input_;
};

}  // namespace

std::unique_ptr<Subject> MakeBinStreams(World& world, Random&) {
  return std::make_unique<BinStreams>(world);
}
