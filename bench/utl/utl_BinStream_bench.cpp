// Values and arrays to a file and back, beside the system's calls alone.

#include "utl/utl_BinStream.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "bench_work.h"

namespace {

constexpr int kDoubles = 1 << 20;
constexpr std::size_t kBytes = sizeof(double) * kDoubles;
constexpr int kValue = 7;

const std::vector<double>& Values() {
  static const std::vector<double> values(kDoubles, 1.5);
  return values;
}

// A file without a name.
class File {
 public:
  File() : descriptor_(open(bench::Scratch().c_str(), O_TMPFILE | O_RDWR, 0600)) {}
  ~File() { close(descriptor_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int Descriptor() const { return descriptor_; }
  void Rewind() const { lseek(descriptor_, 0, SEEK_SET); }
  std::string Start(std::size_t size) const {
    std::string text(size, '\0');
    const ssize_t count = pread(descriptor_, text.data(), size, 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
  }

 private:
  int descriptor_;
};

// Each has a file of its own, and writes an int or an array there or reads it.

class Ours {
 public:
  void WriteInt() { out_.WriteInt(kValue); }
  int ReadInt() { return in_.ReadInt(); }
  void WriteArray() { out_.WriteDoubleArray(Values().data(), kDoubles); }
  void ReadArray(std::vector<double>& to) { in_.ReadDoubleArray(to.data(), kDoubles); }
  const File& Under() const { return file_; }

 private:
  File file_;
  utl_BinOStream out_{file_.Descriptor(), omi_Swapper::kLittleEndian};
  utl_BinIStream in_{file_.Descriptor(), omi_Swapper::kLittleEndian};
};

class System {
 public:
  void WriteInt() { Done(write(file_.Descriptor(), &kValue, sizeof kValue)); }
  int ReadInt() {
    int value = 0;
    Done(read(file_.Descriptor(), &value, sizeof value));
    return value;
  }
  void WriteArray() { Done(write(file_.Descriptor(), Values().data(), kBytes)); }
  void ReadArray(std::vector<double>& to) {
    Done(read(file_.Descriptor(), to.data(), kBytes));
  }
  const File& Under() const { return file_; }

 private:
  static void Done(ssize_t count) { benchmark::DoNotOptimize(count); }

  File file_;
};

// So many ints are written or read before the file is rewound that this does not count.
template <class Stream>
class Ints {
 public:
  Stream& Next() {
    if (++calls_ % 65536 == 0) {
      stream_->Under().Rewind();
    }
    return *stream_;
  }

 private:
  std::shared_ptr<Stream> stream_ = std::make_shared<Stream>();
  int calls_ = 65535;
};

template <class Stream>
void AddStream(const char* coding) {
  bench::Work("binary stream: write an int")
      .Coding(
          coding, [ints = Ints<Stream>()]() mutable { ints.Next().WriteInt(); },
          [] {
            Stream stream;
            stream.WriteInt();
            return stream.Under().Start(sizeof kValue);
          });
  Ints<Stream> written;
  for (int i = 0; i < 65536; ++i) {
    written.Next().WriteInt();
  }
  bench::Work("binary stream: read an int").Coding(coding, [written]() mutable {
    return written.Next().ReadInt();
  });
  bench::Work("binary stream: write 8 MB")
      .Coding(
          coding,
          [stream = std::make_shared<Stream>()] {
            stream->Under().Rewind();
            stream->WriteArray();
          },
          [] {
            Stream stream;
            stream.WriteArray();
            return stream.Under().Start(kBytes);
          });
  const auto filled = std::make_shared<Stream>();
  filled->WriteArray();
  const auto read = [filled, to = std::vector<double>(kDoubles)]() mutable {
    filled->Under().Rewind();
    filled->ReadArray(to);
    return to[kDoubles / 2];
  };
  bench::Work("binary stream: read 8 MB").Coding(coding, read);
}

}  // namespace

void bench::AddWorks() {
  AddStream<Ours>("ours");
  AddStream<System>("limit system call");
  Work("binary stream: write an int").Counted();
  Work("binary stream: read an int").Counted();
}
