#include "utl/impl/multisection/utl_NameIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <random>
#include <string>
#include <vector>

namespace {

/// What the best chosen names can do to a hash.
struct SameHash {
  std::size_t operator()(std::string_view) const { return 4711; }
};

/// Leaves a few hashes, so that sorting by hash and sorting by name both count.
struct FewHashes {
  std::size_t operator()(std::string_view name) const { return name.size() % 3; }
};

/// An index of a growing list of names, which counts the looks at them.
template <class Hash>
class Names {
 public:
  void Append(const std::string& name) { names_.push_back(name); }

  int Find(std::string_view name) {
    return index_.Find(name, static_cast<int>(names_.size()), [this](int number) {
      ++looks_;
      return std::string_view(names_[static_cast<std::size_t>(number)]);
    });
  }

  /// As Find, by looking at one name after the other.
  int Expected(std::string_view name) const {
    const auto found = std::find(names_.begin(), names_.end(), name);
    return found == names_.end() ? utl_NameIndex<Hash>::kNone
                                 : static_cast<int>(found - names_.begin());
  }

  std::int64_t Looks() const { return looks_; }

 private:
  std::vector<std::string> names_;
  utl_NameIndex<Hash> index_;
  std::int64_t looks_ = 0;
};

template <class Hash>
void ExpectTheFirstOfEachName() {
  std::mt19937 random(1);
  Names<Hash> names;
  EXPECT_EQ(names.Find(""), names.Expected(""));
  for (int round = 0; round < 300; ++round) {
    for (auto appended = random() % 8; appended > 0; --appended) {
      names.Append(std::string(random() % 4, 'x') + std::to_string(random() % 500));
    }
    for (int i = 0; i < 20; ++i) {
      const std::string name =
          std::string(random() % 4, 'x') + std::to_string(random() % 600);
      ASSERT_EQ(names.Find(name), names.Expected(name)) << name;
    }
  }
}

TEST(NameIndexTest, FindsTheFirstOfEachName) {
  ExpectTheFirstOfEachName<std::hash<std::string_view>>();
}

TEST(NameIndexTest, FindsTheFirstOfEachNameWhereHashesAreEqual) {
  ExpectTheFirstOfEachName<FewHashes>();
  ExpectTheFirstOfEachName<SameHash>();
}

// A few looks at names for each step of a sort or search by halves.
std::int64_t LooksAllowed(int count) {
  return 6 * std::int64_t{count} * std::bit_width(static_cast<unsigned>(count));
}

constexpr int kCounts[] = {1000, 10'000, 100'000};

TEST(NameIndexTest, NamesOfOneHashAreSortedInFewSteps) {
  for (const int count : kCounts) {
    Names<SameHash> names;
    for (int i = 0; i < count; ++i) {
      names.Append("crafted " + std::to_string(i));
    }
    EXPECT_EQ(names.Find("crafted 7"), 7);
    EXPECT_LT(names.Looks(), LooksAllowed(count));
  }
}

TEST(NameIndexTest, NamesOfOneHashAreFoundInFewSteps) {
  for (const int count : kCounts) {
    Names<SameHash> names;
    for (int i = 0; i < count; ++i) {
      names.Append("crafted " + std::to_string(i));
    }
    names.Find("");
    const std::int64_t before = names.Looks();
    for (int i = 0; i < count; ++i) {
      ASSERT_EQ(names.Find("crafted " + std::to_string(i)), i);
    }
    EXPECT_LT(names.Looks() - before, LooksAllowed(count));
  }
}

// As sections are set that are new: each is looked for before it is appended. A search
// looks into as many runs as the count has ones in binary.
TEST(NameIndexTest, NamesOfOneHashAreAppendedOneByOneInFewSteps) {
  for (const int count : kCounts) {
    Names<SameHash> names;
    for (int i = 0; i < count; ++i) {
      const std::string name = "crafted " + std::to_string(i);
      ASSERT_EQ(names.Find(name), utl_NameIndex<>::kNone);
      names.Append(name);
    }
    EXPECT_LT(names.Looks(), LooksAllowed(count) * std::bit_width(1U * count));
  }
}

// Names that nobody chose are told apart by their hashes.
TEST(NameIndexTest, OrdinaryNamesAreHardlyLookedAt) {
  constexpr int kCount = 100'000;
  Names<std::hash<std::string_view>> names;
  for (int i = 0; i < kCount; ++i) {
    names.Append("section " + std::to_string(i));
  }
  for (int i = 0; i < kCount; ++i) {
    ASSERT_EQ(names.Find("section " + std::to_string(i)), i);
  }
  EXPECT_LT(names.Looks(), 4 * kCount);
}

}  // namespace
