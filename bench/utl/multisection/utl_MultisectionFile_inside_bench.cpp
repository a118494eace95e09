// Section files written, read and changed.

#include "utl/utl_MultisectionFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "utl/impl/crc32/utl_crc32.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl_MultisectionFile_works.h"

namespace {

using Save = void (utl_MultisectionFile::*)();

template <Save kSave>
struct Ours {
  static void Write(const std::string& path, const Sections& sections) {
    utl_MultisectionFile file(path, utl_FileAccessWrite);
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      file.setSectionData(sections.Name(i), sections.Data(i), sections.Size());
    }
    (file.*kSave)();
  }

  static unsigned long Read(const std::string& path, const Sections& sections) {
    utl_MultisectionFile file(path, utl_FileAccessRead);
    std::vector<char> data(sections.Bytes());
    Seen seen;
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      file.getSectionData(sections.Name(i), data.data());
      seen.Add(data);
    }
    return seen.Number();
  }
};

std::uint32_t NaiveCrc(const std::vector<char>& data) {
  return utl_crc32Kernels().front().function(kCrc32Start, data.data(), data.size());
}

// As docs/multisection-file.md tells it: a list of sections that is searched from its
// start, a byte at a time for the checksum, a call for every field.
class Naive {
 public:
  static void Write(const std::string& path, const Sections& sections) {
    Naive file;
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      file.Set(sections.Name(i), {sections.Data(i), sections.Data(i) + sections.Bytes()});
    }
    file.Save(path + ".tmp");
    std::ofstream(path) << std::ifstream(path + ".tmp").rdbuf();
    std::filesystem::remove(path + ".tmp");
  }

  static unsigned long Read(const std::string& path, const Sections& sections) {
    Naive file;
    file.Load(path);
    Seen seen;
    for (std::size_t i = 0; i < sections.Count(); ++i) {
      const Section& section = *file.Find(sections.Name(i));
      if (NaiveCrc(section.data) == section.checksum) {
        seen.Add(section.data);
      }
    }
    return seen.Number();
  }

 private:
  struct Section {
    std::string name;
    std::vector<char> data;
    std::uint32_t checksum;
  };

  std::vector<Section>::iterator Find(const std::string& name) {
    return std::find_if(sections_.begin(), sections_.end(),
                        [&name](const Section& section) { return section.name == name; });
  }

  void Set(const std::string& name, std::vector<char> data) {
    const std::uint32_t checksum = NaiveCrc(data);
    if (const auto found = Find(name); found != sections_.end()) {
      *found = {name, std::move(data), checksum};
    } else {
      sections_.push_back({name, std::move(data), checksum});
    }
  }

  void Save(const std::string& path) const {
    std::ofstream out(path, std::ios::binary);
    const auto put = [&out](std::uint32_t value) {
      char bytes[4];
      utl_putInt(bytes, value);
      out.write(bytes, 4);
    };
    put(utl_getInt(reinterpret_cast<const char*>(kMultisectionTag)));
    put(kMultisectionVersion);
    put(static_cast<std::uint32_t>(sections_.size()));
    for (const Section& section : sections_) {
      put(static_cast<std::uint32_t>(section.name.size()));
      out << section.name;
      put(static_cast<std::uint32_t>(section.data.size()));
      put(section.checksum);
    }
    for (const Section& section : sections_) {
      out.write(section.data.data(), static_cast<std::streamsize>(section.data.size()));
    }
  }

  void Load(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const auto get = [&in] {
      char bytes[4];
      in.read(bytes, 4);
      return utl_getInt(bytes);
    };
    get();
    get();
    sections_.resize(get());
    for (Section& section : sections_) {
      section.name.resize(get());
      in.read(section.name.data(), static_cast<std::streamsize>(section.name.size()));
      section.data.resize(get());
      section.checksum = get();
    }
    for (Section& section : sections_) {
      in.read(section.data.data(), static_cast<std::streamsize>(section.data.size()));
    }
  }

  std::vector<Section> sections_;
};

class File {
 public:
  File(const std::string& path, int flags)
      : descriptor_(open(path.c_str(), flags, 0600)) {}
  ~File() { close(descriptor_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int Descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// All bytes in one call.
void AddOneWrite(const SectionWork& about, const std::string& work) {
  const auto size =
      static_cast<std::size_t>(about.count) * static_cast<std::size_t>(about.size);
  const std::string path = bench::Scratch() + "/one write";
  bench::Work(work).Measured(
      "limit one write()", [size, path, bytes = std::string()]() mutable {
        if (bytes.empty()) {
          bytes.assign(size, 'x');
        }
        const File file(path, O_WRONLY | O_CREAT | O_TRUNC);
        return write(file.Descriptor(), bytes.data(), bytes.size());
      });
}

// The sections' bytes read one section at a time, each with its checksum, without names.
void AddReadAndCrc(const SectionWork& about) {
  const auto sections = std::make_shared<const Sections>(about.count, about.size);
  const std::string path = bench::Scratch() + "/read and CRC" + about.name;
  bench::Work(std::string("section file read ") + about.name)
      .Coding("limit read() and CRC", [=] {
        if (!std::filesystem::exists(path)) {
          Ours<&utl_MultisectionFile::saveChanges>::Write(path, *sections);
        }
        const File file(path, O_RDONLY);
        lseek(file.Descriptor(),
              -static_cast<off_t>(sections->Count() * sections->Bytes()), SEEK_END);
        std::vector<char> data(sections->Bytes());
        Seen seen;
        for (std::size_t i = 0; i < sections->Count(); ++i) {
          benchmark::DoNotOptimize(read(file.Descriptor(), data.data(), data.size()));
          benchmark::DoNotOptimize(utl_crc32(kCrc32Start, data.data(), data.size()));
          seen.Add(data);
        }
        return seen.Number();
      });
}

void AddAtomicWrite(const SectionWork& about) {
  using Store = Ours<&utl_MultisectionFile::saveChangesAtomically>;
  const auto sections = std::make_shared<const Sections>(about.count, about.size);
  const std::string path = bench::Scratch() + "/atomic";
  const std::string work = std::string("section file write atomically ") + about.name;
  bench::Work(work).Coding(
      "ours", [=] { Store::Write(path, *sections); },
      [=] {
        Store::Write(path, *sections);
        return Store::Read(path, *sections);
      });
  AddOneWrite(about, work);
}

// A file that is kept open, and of whose sections one is set again and again.
template <Save kSave>
class Changed {
 public:
  Changed(std::shared_ptr<const Sections> sections, std::string path)
      : sections_(std::move(sections)), path_(std::move(path)) {}

  void ChangeOne() {
    if (!file_) {
      Ours<kSave>::Write(path_, *sections_);
      file_ = std::make_shared<utl_MultisectionFile>(path_, utl_FileAccessUpdate);
    }
    const std::size_t one = sections_->Count() / 2;
    file_->setSectionData(sections_->Name(one), sections_->Data(one), sections_->Size());
    ((*file_).*kSave)();
  }

 private:
  std::shared_ptr<const Sections> sections_;
  std::string path_;
  std::shared_ptr<utl_MultisectionFile> file_;
};

// The file is written as a whole although one of its 100,000 sections has changed.
template <Save kSave>
void AddOneChanged(const char* name) {
  using Store = Ours<kSave>;
  const auto sections = std::make_shared<const Sections>(100'000, 100);
  const std::string path = bench::Scratch() + '/' + name;
  const bench::Work work(std::string("section file one of 100000 changed: ") + name);
  work.Coding(
      "ours",
      [file = Changed<kSave>(sections, path + " changed")]() mutable {
        file.ChangeOne();
      },
      [=] {
        Changed<kSave>(sections, path).ChangeOne();
        return Store::Read(path, *sections);
      });
  work.Coding(
      "all written anew", [=] { Store::Write(path, *sections); },
      [=] {
        Store::Write(path, *sections);
        return Store::Read(path, *sections);
      });
}

// The first search makes an index of all names.
void AddFirstSearch() {
  const std::string path = bench::Scratch() + "/first search";
  bench::Work("section file open and first search of 1000000")
      .Measured(
          "ours",
          [path] {
            return utl_MultisectionFile(path, utl_FileAccessRead).hasSection("none");
          },
          [path] {
            if (!std::filesystem::exists(path)) {
              Ours<&utl_MultisectionFile::saveChanges>::Write(path,
                                                              Sections(1000000, 16));
            }
          });
}

}  // namespace

void bench::AddWorks() {
  AddStore<Ours<&utl_MultisectionFile::saveChanges>>("ours");
  AddStore<Naive>("naive");
  for (const SectionWork& about : kSectionWorks) {
    AddAtomicWrite(about);
    AddOneWrite(about, std::string("section file write ") + about.name);
    AddReadAndCrc(about);
  }
  AddFirstSearch();
  AddOneChanged<&utl_MultisectionFile::saveChanges>("saveChanges");
  AddOneChanged<&utl_MultisectionFile::saveChangesAtomically>("saveChangesAtomically");
  Work("section file write 10000 x 1 KB").Counted();
  Work("section file read 10000 x 1 KB").Counted();
  Work("section file one of 100000 changed: saveChanges").Counted();
}
