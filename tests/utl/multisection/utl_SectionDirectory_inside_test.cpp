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

/// The sections one behind the other, looked for from the first to the last.
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

  std::int64_t DataSize() const {
    std::int64_t size = 0;
    for (const ModelSection& section : sections) {
      size += std::max(section.Length(), 0);
    }
    return size;
  }

  void PlaceFrom(std::int64_t place) {
    for (ModelSection& section : sections) {
      section.place = place;
      place += section.fileLength;
    }
  }

  void Settle(std::int64_t written) {
    std::int64_t place = DataOffset();
    for (ModelSection& section : sections) {
      const std::int64_t behind = place + std::max(section.Length(), 0);
      if (behind > written) {
        return;
      }
      section.fileLength = section.Length();
      section.data.reset();
      section.place = place;
      place = behind;
    }
  }

  std::vector<ModelSection> sections;
};

void Load(utl_SectionDirectory& directory, Model& model) {
  for (const ModelSection& section : model.sections) {
    char* name = directory.AppendName(static_cast<int>(section.name.size()));
    std::copy(section.name.begin(), section.name.end(), name);
    directory.Describe(section.fileLength, section.checksum);
  }
  directory.PlaceFrom(model.DataOffset());
  model.PlaceFrom(model.DataOffset());
}

void Set(utl_SectionDirectory& directory, Model& model, const std::string& name,
         const std::string& data, std::uint32_t checksum) {
  auto block = std::make_unique<char[]>(data.size());
  std::copy(data.begin(), data.end(), block.get());
  directory.Set(cow_String(std::string_view(name)), std::move(block),
                static_cast<int>(data.size()), checksum);
  model.Set(name, data, checksum);
}

void ExpectEqual(const Model& model, const utl_SectionDirectory& directory) {
  ASSERT_EQ(model.sections.size(), static_cast<std::size_t>(directory.Count()));
  for (int i = 0; i < directory.Count(); ++i) {
    SCOPED_TRACE("section " + std::to_string(i));
    const ModelSection& section = model.sections[static_cast<std::size_t>(i)];
    ASSERT_EQ(section.name, directory.Name(i));
    ASSERT_EQ(section.Length(), directory.Length(i));
    ASSERT_EQ(section.checksum, directory.Checksum(i));
    const char* data = directory.Data(i);
    ASSERT_EQ(section.data.has_value(), data != nullptr);
    if (section.data) {
      ASSERT_EQ(0, std::memcmp(section.data->data(), data, section.data->size()));
    } else {
      ASSERT_EQ(section.place, directory.Place(i));
    }
  }
  EXPECT_EQ(model.DataOffset(), directory.DataOffset());
  EXPECT_EQ(model.DataSize(), directory.DataSize());
}

// -1 when there is none.
int NumberOf(Model& model, const std::string& name) {
  const ModelSection* found = model.Find(name);
  return found == nullptr ? -1 : static_cast<int>(found - model.sections.data());
}

void ExpectFound(Model& model, utl_SectionDirectory& directory, const std::string& name) {
  EXPECT_EQ(NumberOf(model, name), directory.Find(cow_String(std::string_view(name))))
      << name;
}

TEST(SectionDirectoryTest, EmptyOneFindsNothing) {
  utl_SectionDirectory directory;
  EXPECT_EQ(utl_kNoSection, directory.Find(""));
  EXPECT_EQ(utl_kNoSection, directory.Find("a"));
  EXPECT_EQ(12, directory.DataOffset());
  EXPECT_EQ(0, directory.DataSize());
  directory.Settle(12);
  EXPECT_EQ(0, directory.Count());
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
  for (const int count : {0, 1, 511, 512, 513, 2000}) {
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
        Set(directory, model, name, std::string(random() % 300, 'x'),
            static_cast<std::uint32_t>(random()));
      }
      const std::int64_t whole = model.DataOffset() + model.DataSize();
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
  EXPECT_LT(directory.Place(1999), 0);
}

}  // namespace
