// How times grow with sizes. Each benchmark is named SUBJECT: WHAT/UNITS, and does that
// many units in one iteration; bench/growth/plot.py draws the time of one unit over the
// units.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench_work.h"
#include "rgx/rgx_funcs.h"
#include "utl/omi_Btree.h"
#include "utl/utl_BlkBitUtils.h"
#include "utl/utl_Catenator.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_MultisectionFile.h"

namespace {

using Run = std::function<void()>;

// `prepare(units)` returns what is measured.
template <class Prepare>
void Add(const char* name, const std::vector<std::int64_t>& sizes, Prepare prepare) {
  benchmark::internal::Benchmark& added =
      bench::Register(name, [prepare](benchmark::State& state) {
        const Run run = prepare(state.range(0));
        for (auto _ : state) {
          run();
          benchmark::ClobberMemory();
        }
      });
  for (const std::int64_t size : sizes) {
    added.Arg(size);
  }
}

// The powers of ten from 1 on.
std::vector<std::int64_t> PowersOfTen(std::int64_t last) {
  std::vector<std::int64_t> sizes;
  for (std::int64_t size = 1; size <= last; size *= 10) {
    sizes.push_back(size);
  }
  return sizes;
}

cow_String Path(const char* kind, std::int64_t size) {
  return bench::Scratch() + '/' + kind + std::to_string(size);
}

std::vector<cow_String> Names(std::int64_t count) {
  std::vector<cow_String> names;
  for (std::int64_t i = 0; i < count; ++i) {
    names.emplace_back("section " + std::to_string(i));
  }
  return names;
}

void SetSections(utl_MultisectionFile& file, const std::vector<cow_String>& names) {
  for (const cow_String& name : names) {
    file.setSectionData(name, "sixteen bytes...", 16);
  }
}

void WriteSections(const cow_String& path, const std::vector<cow_String>& names) {
  utl_MultisectionFile file(path, utl_FileAccessWrite);
  SetSections(file, names);
  file.saveChanges();
}

// A saved file of so many sections, made when it is first asked for.
cow_String SavedSections(std::int64_t count) {
  cow_String path = Path("sections", count);
  if (!std::filesystem::exists(std::string(path))) {
    WriteSections(path, Names(count));
  }
  return path;
}

void AddSections() {
  const std::vector<std::int64_t> counts = PowersOfTen(1000000);
  Add("section file: open", counts, [](std::int64_t count) -> Run {
    return
        [path = SavedSections(count)] { utl_MultisectionFile(path, utl_FileAccessRead); };
  });
  Add("section file: open and first search", counts, [](std::int64_t count) -> Run {
    return [path = SavedSections(count)] {
      benchmark::DoNotOptimize(
          utl_MultisectionFile(path, utl_FileAccessRead).hasSection("no such section"));
    };
  });
  Add("section file: search each", counts, [](std::int64_t count) -> Run {
    const auto file =
        std::make_shared<utl_MultisectionFile>(SavedSections(count), utl_FileAccessRead);
    return [file, names = Names(count)] {
      for (const cow_String& name : names) {
        benchmark::DoNotOptimize(file->hasSection(name));
      }
    };
  });
  Add("section file: set each", counts, [](std::int64_t count) -> Run {
    return [names = Names(count), path = Path("set", count)] {
      utl_MultisectionFile file(path, utl_FileAccessWrite);
      SetSections(file, names);
    };
  });
  Add("section file: set and save all", counts, [](std::int64_t count) -> Run {
    return [names = Names(count), path = Path("save", count)] {
      WriteSections(path, names);
    };
  });
}

// A file of 2 GB is a section of nearly so many bytes, and its directory.
std::size_t SectionLength(std::int64_t size) {
  return static_cast<std::size_t>(std::min(size, (std::int64_t{1} << 31) - 1024));
}

// Bytes of one section: up to 64 MB, or 2 GB where KSTUTL_BENCH_LARGE is set.
void AddSectionBytes() {
  std::vector<std::int64_t> sizes;
  const std::int64_t last = std::getenv("KSTUTL_BENCH_LARGE") != nullptr
                                ? std::int64_t{1} << 31
                                : std::int64_t{1} << 26;
  for (std::int64_t size = 1024; size <= last; size *= 8) {
    sizes.push_back(size);
  }
  if (sizes.back() != last) {
    sizes.push_back(last);
  }
  const auto write = [](const cow_String& path, const std::vector<char>& data) {
    utl_MultisectionFile file(path, utl_FileAccessWrite);
    file.setSectionData("data", data.data(), static_cast<int>(data.size()));
    file.saveChanges();
  };
  Add("section file: write a byte", sizes, [write](std::int64_t size) -> Run {
    const auto length = SectionLength(size);
    return [write, path = Path("bytes", size), data = std::vector<char>(length, 'x')] {
      write(path, data);
    };
  });
  Add("section file: read a byte", sizes, [write](std::int64_t size) -> Run {
    const auto length = SectionLength(size);
    const cow_String path = Path("bytes", size);
    const auto data = std::make_shared<std::vector<char>>(length, 'x');
    write(path, *data);
    return [path, data] {
      utl_MultisectionFile(path, utl_FileAccessRead).getSectionData("data", data->data());
    };
  });
}

std::vector<int> ShuffledKeys(std::int64_t count) {
  std::vector<int> keys(static_cast<std::size_t>(count));
  std::iota(keys.begin(), keys.end(), 0);
  std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  return keys;
}

void AddTree() {
  using Tree = omi_Btree<int, int>;
  const auto fill = [](Tree& tree, const std::vector<int>& keys) {
    for (const int key : keys) {
      tree.Insert(key, key);
    }
  };
  const std::vector<std::int64_t> sizes = PowersOfTen(1000000);
  Add("tree: insert", sizes, [fill](std::int64_t size) -> Run {
    return [fill, keys = ShuffledKeys(size)] {
      Tree tree;
      fill(tree, keys);
    };
  });
  Add("tree: find", sizes, [fill](std::int64_t size) -> Run {
    const std::vector<int> keys = ShuffledKeys(size);
    const auto tree = std::make_shared<Tree>();
    fill(*tree, keys);
    return [tree, keys] {
      for (const int key : keys) {
        benchmark::DoNotOptimize(tree->Find(key));
      }
    };
  });
  Add("tree: iterate", sizes, [fill](std::int64_t size) -> Run {
    const auto tree = std::make_shared<Tree>();
    fill(*tree, ShuffledKeys(size));
    return [tree] {
      for (const auto& [key, value] : *tree) {
        benchmark::DoNotOptimize(key);
      }
    };
  });
}

void AddText() {
  Add("catenator: piece of 16 bytes", PowersOfTen(10000000),
      [](std::int64_t count) -> Run {
        return [count] {
          utl_Catenator catenator;
          for (std::int64_t i = 0; i < count; ++i) {
            catenator.Cat("sixteen bytes...", 16);
          }
          benchmark::DoNotOptimize(catenator.GetString());
        };
      });
  // 100 patterns are kept: more of them in turn are compiled again and again.
  Add("pattern cache: match", {1, 3, 10, 30, 100, 300}, [](std::int64_t count) -> Run {
    std::vector<cow_String> patterns;
    for (std::int64_t i = 0; i < count; ++i) {
      patterns.emplace_back("x(\\d+)=" + std::to_string(i));
    }
    return [patterns, subject = cow_String("x1=7")] {
      for (const cow_String& pattern : patterns) {
        benchmark::DoNotOptimize(rgx_match(pattern, subject).Matched());
      }
    };
  });
  const auto addMask = [](const char* name, std::uint32_t factor) {
    Add(name, PowersOfTen(1000000), [factor](std::int64_t cells) -> Run {
      omi_BlkBitVect mask;
      for (std::uint64_t cell = 0; cell < static_cast<std::uint64_t>(cells); ++cell) {
        mask.SetCell(cell, (static_cast<std::uint32_t>(cell) + 1) * factor);
      }
      mask.SetCell(static_cast<std::uint64_t>(cells), 1);
      return [mask] {
        omi_BlkBitVect read;
        utl_BlkBitUtils::GetMaskFromString(utl_BlkBitUtils::GetMaskString(mask), read);
        benchmark::DoNotOptimize(read);
      };
    });
  };
  addMask("mask text: a word there and back", 2654435761u);
  addMask("mask text: an empty word there and back", 0);
}

// Trackers are kept to the end of the process: their summaries are of no use.
utl_IOTracker& NewTracker() {
  setenv("KES_IO_TRACK", "1", 1);
  return *(new utl_IOTracker_Container)->Tracker();
}

void OpenFiles(utl_IOTracker& tracker, std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i) {
    tracker.COpen(0x7F3A5C000010 + i * 560, ("file" + std::to_string(i)).c_str());
  }
}

void AddTracker() {
  Add("tracker: open", PowersOfTen(100000), [](std::int64_t count) -> Run {
    return [count] {
      setenv("KES_IO_TRACK", "1", 1);
      utl_IOTracker_Container holder;
      OpenFiles(*holder.Tracker(), count);
    };
  });
  Add("tracker: write", PowersOfTen(1000000), [](std::int64_t count) -> Run {
    static std::map<std::int64_t, utl_IOTracker*> trackers;
    utl_IOTracker*& tracker = trackers[count];
    if (tracker == nullptr) {
      tracker = &NewTracker();
      OpenFiles(*tracker, count);
    }
    return [tracker, count] {
      for (std::int64_t i = 0; i < count; ++i) {
        tracker->CWrite(0x7F3A5C000010 + i * 560, 4096, 0.5);
      }
    };
  });
}

void AddListing() {
  Add("listing: entry", PowersOfTen(100000), [](std::int64_t count) -> Run {
    const std::filesystem::path path =
        std::filesystem::path(bench::Scratch()) / ("entries" + std::to_string(count));
    if (std::filesystem::create_directory(path)) {
      for (std::int64_t i = 0; i < count; ++i) {
        std::ofstream(path / ("result" + std::to_string(i) + ".dat"));
      }
    }
    return [directory = utl_FilePath(path)] {
      benchmark::DoNotOptimize(utl_DirObject(directory).FileCount());
    };
  });
}

}  // namespace

void bench::AddWorks() {
  std::filesystem::current_path(Scratch());  // for the tracker's outputs
  AddSections();
  AddSectionBytes();
  AddTree();
  AddText();
  AddTracker();
  AddListing();
}
