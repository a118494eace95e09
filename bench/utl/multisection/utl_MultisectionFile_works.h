#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench_work.h"

struct SectionWork {
  const char* name;
  int count;
  int size;
};
inline constexpr SectionWork kSectionWorks[] = {{"200 x 1 MB", 200, 1 << 20},
                                                {"10000 x 1 KB", 10000, 1024}};

/// Sections to write, all different.
class Sections {
 public:
  Sections(int count, int size)
      : size_(size),
        bytes_(bench::RandomBytes(static_cast<std::size_t>(count) +
                                  static_cast<std::size_t>(size))) {
    for (int i = 0; i < count; ++i) {
      names_.push_back("section " + std::to_string(i));
    }
  }

  std::size_t Count() const { return names_.size(); }
  int Size() const { return size_; }
  std::size_t Bytes() const { return static_cast<std::size_t>(size_); }
  const std::string& Name(std::size_t i) const { return names_[i]; }
  const char* Data(std::size_t i) const { return bytes_.data() + i; }

 private:
  int size_;
  std::string bytes_;
  std::vector<std::string> names_;
};

/// What reading gives: a number that depends on the ends of all sections and on their
/// order.
class Seen {
 public:
  void Add(const std::vector<char>& section) {
    number_ = (number_ * 31 + static_cast<unsigned char>(section.front())) * 31 +
              static_cast<unsigned char>(section.back());
  }
  unsigned long Number() const { return number_; }

 private:
  unsigned long number_ = 0;
};

/// Adds a way to keep sections in a file: Write(path, sections) and Read(path, sections).
template <class Store>
void AddStore(const std::string& coding) {
  for (const auto& [name, count, size] : kSectionWorks) {
    const auto sections = std::make_shared<const Sections>(count, size);
    const std::string path = bench::Scratch() + '/' + coding + name;
    bench::Work(std::string("section file write ") + name)
        .Coding(
            coding, [=] { Store::Write(path, *sections); },
            [=] {
              Store::Write(path, *sections);
              return Store::Read(path, *sections);
            });
    bench::Work(std::string("section file read ") + name).Coding(coding, [=] {
      if (!std::filesystem::exists(path)) {
        Store::Write(path, *sections);
      }
      return Store::Read(path, *sections);
    });
  }
}
