// Any bytes as a binary stream, read in any way: what is read is what stands there, the
// end is told, and what was read is written back to the same bytes.

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/common/Choices.h"
#include "fuzz/common/FuzzDirectory.h"
#include "fuzz/common/Require.h"
#include "utl/utl_BinStream.h"

namespace {

class Opened {
 public:
  Opened(const std::string& path, int flags)
      : fd_(_open(path.c_str(), flags, _S_IREAD | _S_IWRITE)) {}
  ~Opened() { _close(fd_); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  int Descriptor() const { return fd_; }

 private:
  int fd_;
};

constexpr int kLongest = 1 << 20;  // a length beyond takes that much memory, as it should

// Reads with `in`, and writes with `out`, whatever `action` says; false where the next
// length is too great to be tried.
bool Copy(int action, std::string_view left, utl_BinIStream& in, utl_BinOStream& out) {
  switch (action) {
    case 0:
      out.WriteSchar(in.ReadSchar());
      break;
    case 1:
      out.WriteUchar(in.ReadUchar());
      break;
    case 2:
      out.WriteShort(in.ReadShort());
      break;
    case 3:
      out.WriteUShort(in.ReadUShort());
      break;
    case 4:
      out.WriteInt(in.ReadInt());
      break;
    case 5:
      out.WriteUInt(in.ReadUInt());
      break;
    case 6:
      out.WriteInt64(in.ReadInt64());
      break;
    case 7:
      out.WriteUInt64(in.ReadUInt64());
      break;
    case 8: {
      int length = 0;
      std::memcpy(&length, left.data(), std::min(left.size(), sizeof length));
      if (length > kLongest) {
        return false;
      }
      out.WriteString(in.ReadString());
      break;
    }
    case 9: {
      std::vector<int> values(3);
      in.ReadIntArray(values.data(), 3);
      out.WriteIntArray(values.data(), 3);
      break;
    }
    case 10: {
      std::vector<float> values(2);
      in.ReadFloatArray(values.data(), 2);
      out.WriteFloatArray(values.data(), 2);
      break;
    }
    default: {
      std::vector<double> values(2);
      in.ReadDoubleArray(values.data(), 2);
      out.WriteDoubleArray(values.data(), 2);
    }
  }
  return true;
}

// How many bytes an action takes off `left`; more than there are at the end of the file.
std::size_t SizeOf(int action, std::string_view left) {
  constexpr std::size_t kSizes[] = {1, 1, 2, 2, 4, 4, 8, 8, 4, 12, 8, 16};
  const std::size_t size = kSizes[action];
  if (action == 8 && left.size() >= size) {
    int length = 0;
    std::memcpy(&length, left.data(), sizeof length);
    return length < 0 ? std::string_view::npos : size + static_cast<std::size_t>(length);
  }
  return size;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Choices choices(data, size);
  const std::string_view actions =
      choices.TakeBytes(static_cast<std::size_t>(choices.Below(32)));
  const std::string bytes(choices.TakeBytes(size));
  const std::string source = FuzzDirectory::File("read");
  const std::string target = FuzzDirectory::File("written");
  FuzzDirectory::Write(source, bytes);
  std::size_t at = 0;
  {
    const Opened from(source, _O_RDONLY);
    const Opened to(target, _O_WRONLY | _O_CREAT | _O_TRUNC);
    utl_BinIStream in(from.Descriptor(), omi_Swapper::kLittleEndian);
    utl_BinOStream out(to.Descriptor(), omi_Swapper::kLittleEndian);
    for (const char c : actions) {
      const int action = static_cast<unsigned char>(c) % 12;
      const std::string_view left = std::string_view(bytes).substr(at);
      try {
        if (!Copy(action, left, in, out)) {
          break;
        }
        at += SizeOf(action, left);
        Require(at <= bytes.size());
      } catch (const utl_BinStreamEOF&) {
        Require(SizeOf(action, left) > left.size());
        break;
      } catch (const std::bad_alloc&) {
        Require(action == 8 && SizeOf(action, left) > left.size());
        break;
      }
    }
  }
  Require(FuzzDirectory::Read(target) == bytes.substr(0, at));
  return 0;
}
