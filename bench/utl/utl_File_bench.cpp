// Writing and reading 16 MB in blocks, one after the other.

#include "utl/utl_File.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "bench_work.h"

namespace {

constexpr int kFileSize = 16 << 20;

class Ours {
 public:
  Ours() : file_(Path(), utl_FileAccessWrite, utl_FileShareDefault) {}
  void Rewind() { file_.Seek(0); }
  int Write(const char* data, int size) { return file_.Write(data, size); }
  int Read(char* data, int size) { return file_.Read(data, size); }

 private:
  static cow_String Path() { return bench::Scratch() + "/file"; }

  utl_File file_;
};

class System {
 public:
  System() : file_(open(bench::Scratch().c_str(), O_TMPFILE | O_RDWR, 0600)) {}
  ~System() { close(file_); }
  System(const System&) = delete;
  System& operator=(const System&) = delete;
  void Rewind() { lseek(file_, 0, SEEK_SET); }
  int Write(const char* data, int size) {
    return static_cast<int>(write(file_, data, static_cast<std::size_t>(size)));
  }
  int Read(char* data, int size) {
    return static_cast<int>(read(file_, data, static_cast<std::size_t>(size)));
  }

 private:
  int file_;
};

// Both give the number of bytes.

template <class File>
int WriteBlocks(File& file, const std::vector<char>& block) {
  file.Rewind();
  int done = 0;
  while (done < kFileSize) {
    done += file.Write(block.data(), static_cast<int>(block.size()));
  }
  return done;
}

template <class File>
int ReadBlocks(File& file, std::vector<char>& block) {
  file.Rewind();
  int done = 0;
  while (const int count = file.Read(block.data(), static_cast<int>(block.size()))) {
    done += count;
  }
  return done;
}

template <class File>
void AddFile(const char* coding) {
  const auto file = std::make_shared<File>();
  const auto filled = std::make_shared<bool>(false);
  for (const int size : {512, 4096, 65536, 1 << 20}) {
    const std::vector<char> block(static_cast<std::size_t>(size), 'x');
    const std::string blocks = "16 MB in blocks of " + std::to_string(size);
    bench::Work("file: write " + blocks).Coding(coding, [file, block] {
      return WriteBlocks(*file, block);
    });
    bench::Work("file: read " + blocks)
        .Coding(coding, [file, filled, to = std::vector<char>(block)]() mutable {
          if (!*filled) {
            WriteBlocks(*file, to);
            *filled = true;
          }
          return ReadBlocks(*file, to);
        });
  }
}

}  // namespace

void bench::AddWorks() {
  AddFile<Ours>("ours");
  AddFile<System>("limit system calls");
  Work("file: write 16 MB in blocks of 4096").Counted();
  Work("file: read 16 MB in blocks of 4096").Counted();
}
