// The directory in memory against a plain list of sections.

#include "utl/impl/multisection/utl_SectionDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "common/expect/PeakMemory.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"

namespace {

using namespace std::string_literals;

struct ModelSection {
  std::string name;
  std::int64_t place = 0;
  int fileLength = 0;
  std::uint32_t checksum = 0;
  std::optional<std::string> data = std::nullopt;  // once set

  int Length() const { return data ? static_cast<int>(data->size()) : fileLength; }
};

std::string UpToZero(const std::string& name) {
  return name.substr(0, name.find('\0'));
}

/// A plain list of sections, searched from the first to the last.
class Model {
 public:
  ModelSection* Find(const std::string& name) {
    const auto same = [&](const ModelSection& section) {
      return UpToZero(section.name) == UpToZero(name);
    };
    const auto found = std::find_if(sections.begin(), sections.end(), same);
    return found == sections.end() ? nullptr : &*found;
  }

  void Set(const std::string& name, const std::string& data, std::uint32_t checksum) {
    ModelSection* section = Find(name);
    if (section == nullptr) {
      section = &sections.emplace_back();
      section->name = name;
    }
    section->data = data;
    section->checksum = checksum;
  }

  std::int64_t DataOffset() const {
    std::int64_t size = 12;
    for (const ModelSection& section : sections) {
      size += 12 + static_cast<std::int64_t>(section.name.size());
    }
    return size;
  }

  std::int64_t FileSize() const {
    std::int64_t size = DataOffset();
    for (const ModelSection& section : sections) {
      size += std::max(section.Length(), 0);
    }
    return size;
  }

  void Settle(std::int64_t written) {
    std::int64_t place = DataOffset();
    for (ModelSection& section : sections) {
      const std::int64_t end = place + std::max(section.Length(), 0);
      if (end > written) {
        return;
      }
      section.fileLength = section.Length();
      section.data.reset();
      section.place = place;
      place = end;
    }
  }

  std::vector<ModelSection> sections;
};

void Load(utl_SectionDirectory& directory, Model& model) {
  std::int64_t place = model.DataOffset();
  for (ModelSection& section : model.sections) {
    section.place = place;
    char* name = directory.Append(static_cast<int>(section.name.size()));
    std::copy(section.name.begin(), section.name.end(), name);
    directory.Last() = {place, nullptr, section.fileLength, section.checksum};
    place += section.fileLength;
  }
}

void Set(utl_SectionDirectory& directory, Model& model, const std::string& name,
         const std::string& data, std::uint32_t checksum) {
  utl_SectionBytes bytes = directory.NewBytes(static_cast<int>(data.size()));
  std::copy(data.begin(), data.end(), bytes.get());
  directory.Set(cow_String(std::string_view(name)), std::move(bytes), checksum);
  model.Set(name, data, checksum);
}

void ExpectEqual(const Model& model, const utl_SectionDirectory& directory) {
  ASSERT_EQ(static_cast<std::size_t>(directory.Count()), model.sections.size());
  for (int i = 0; i < directory.Count(); ++i) {
    SCOPED_TRACE("section " + std::to_string(i));
    const ModelSection& expected = model.sections[static_cast<std::size_t>(i)];
    const utl_Section& section = directory[i];
    ASSERT_EQ(directory.Name(i), expected.name);
    ASSERT_EQ(section.length, expected.Length());
    ASSERT_EQ(section.checksum, expected.checksum);
    ASSERT_EQ(section.data != nullptr, expected.data.has_value());
    if (expected.data) {
      ASSERT_EQ(std::memcmp(section.data, expected.data->data(), expected.data->size()),
                0);
    } else {
      ASSERT_EQ(section.place, expected.place);
    }
  }
  EXPECT_EQ(directory.DataOffset(), model.DataOffset());
  EXPECT_EQ(directory.FileSize(), model.FileSize());
}

// -1 when there is none.
int NumberOf(Model& model, const std::string& name) {
  const ModelSection* found = model.Find(name);
  return found == nullptr ? -1 : static_cast<int>(found - model.sections.data());
}

void ExpectFound(Model& model, utl_SectionDirectory& directory, const std::string& name) {
  EXPECT_EQ(directory.Find(cow_String(std::string_view(name))), NumberOf(model, name))
      << name;
}

TEST(SectionDirectoryTest, EmptyOneFindsNothing) {
  utl_SectionDirectory directory;
  EXPECT_EQ(directory.Find(""), utl_SectionDirectory::kNone);
  EXPECT_EQ(directory.Find("a"), utl_SectionDirectory::kNone);
  EXPECT_EQ(directory.DataOffset(), 12);
  EXPECT_EQ(directory.FileSize(), 12);
  directory.Settle(12);
  EXPECT_EQ(directory.Count(), 0);
}

TEST(SectionDirectoryTest, FirstOfEqualNamesIsFound) {
  utl_SectionDirectory directory;
  Model model;
  for (const std::string& name : {"a"s, "b\0x"s, "a"s, ""s, "b"s, "\0y"s, "ab"s}) {
    model.sections.push_back({.name = name});
  }
  Load(directory, model);
  for (const std::string& name : {"a"s, "b"s, "b\0z"s, ""s, "\0"s, "ab"s, "abc"s, "A"s}) {
    ExpectFound(model, directory, name);
  }
}

TEST(SectionDirectoryTest, SectionsAppendedAfterASearchAreFound) {
  utl_SectionDirectory directory;
  Model model;
  for (int i = 0; i < 1000; ++i) {
    const std::string name = std::to_string(i);
    ExpectFound(model, directory, name);
    Set(directory, model, name, "", 0);
    ExpectFound(model, directory, name);
  }
  for (int i = -1; i <= 1000; ++i) {
    ExpectFound(model, directory, std::to_string(i));
  }
}

// Some lengths are negative, which steps back when read and stays put when saved.
Model RandomModel(std::mt19937& random, int count) {
  Model model;
  for (int i = 0; i < count; ++i) {
    ModelSection& section = model.sections.emplace_back();
    section.name = std::to_string(random() % 3000);
    section.fileLength = static_cast<int>(random() % 1000) - (i % 50 == 0 ? 1000 : 0);
    section.checksum = static_cast<std::uint32_t>(random());
  }
  return model;
}

// Sections are set, and saves get as far as anywhere: to the end every third time.
TEST(SectionDirectoryTest, RandomUseAgreesWithAPlainList) {
  std::mt19937 random(1);
  for (const int count : {0, 1, 2, 3, 500, 2000}) {
    SCOPED_TRACE(count);
    utl_SectionDirectory directory;
    Model model = RandomModel(random, count);
    Load(directory, model);
    ExpectEqual(model, directory);
    for (int round = 0; round < 30; ++round) {
      SCOPED_TRACE(round);
      for (int i = 0; i < 20; ++i) {
        const std::string name = std::to_string(random() % 3500);
        ExpectFound(model, directory, name);
        const bool isLarge = random() % 100 == 0;  // these have memory of another kind
        Set(directory, model, name,
            std::string(random() % (isLarge ? 1000000 : 300), 'x'),
            static_cast<std::uint32_t>(random()));
      }
      const std::int64_t whole = model.FileSize();
      const std::int64_t written =
          round % 3 == 0 ? whole : static_cast<std::int64_t>(random()) % (whole + 1);
      directory.Settle(written);
      model.Settle(written);
      ASSERT_NO_FATAL_FAILURE(ExpectEqual(model, directory));
    }
  }
}

TEST(SectionDirectoryTest, PlacesBeyondThirtyTwoBits) {
  utl_SectionDirectory directory;
  Model model;
  for (int i = 0; i < 2000; ++i) {
    const int length = i < 900 ? 2147483647 : -2147483647 - 1;
    model.sections.push_back({.name = "", .fileLength = length});
  }
  Load(directory, model);
  ExpectEqual(model, directory);
  EXPECT_LT(directory[1999].place, 0);
}

// Of the least length that has memory of its own kind, and of a great one.
TEST(SectionDirectoryTest, MemoryOfLargeSectionsIsGivenBack) {
  constexpr int kTotal = 1 << 30;
  utl_SectionDirectory directory;
  for (const int length : {kMultisectionPiece, 1 << 24}) {
    const std::int64_t before = PeakMemory();
    for (int i = 0; i < kTotal / length; ++i) {
      ASSERT_NE(directory.NewBytes(length), nullptr);
    }
    EXPECT_LT(PeakMemory() - before, kTotal / 4) << length;
  }
}

}  // namespace
