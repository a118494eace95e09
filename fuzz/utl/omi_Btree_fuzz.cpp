// Insertions, removals and searches in any order: contents are those of a std::map, and
// the tree's shape that of its rules coded a second time.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <utility>

#include "fuzz/common/Choices.h"
#include "fuzz/common/Require.h"
#include "utl/BtreeModel.h"

namespace {

int Compare(int a, int b) {
  return a < b ? -1 : a > b;
}

// Up to a zero byte.
int Compare(const cow_String& a, const cow_String& b) {
  return std::string_view(a.c_str()).compare(b.c_str());
}

template <class K>
struct Less {
  bool operator()(const K& a, const K& b) const { return Compare(a, b) < 0; }
};

template <class K, class TakeKey>
void Run(Choices& choices, TakeKey takeKey) {
  omi_Btree<K, int> tree;
  BtreeModel<K, int> shape([](const K& a, const K& b) { return Compare(a, b); });
  std::map<K, int, Less<K>> contents;
  while (!choices.AtEnd()) {
    const int action = choices.Below(4);
    const K key = takeKey(choices);
    const auto found = contents.find(key);
    const bool isThere = found != contents.end();
    if (action == 0) {
      Require(tree.Find(key) == (isThere ? found->second : tree.GetNullValue()));
    } else if (action == 1) {
      Require(tree.Remove(key) == isThere && shape.Remove(key) == isThere);
      contents.erase(key);
    } else {
      Require(tree.Insert(key, action) != isThere &&
              shape.Insert(key, action) != isThere);
      contents.try_emplace(key, action);
    }
    Require(shape.Equals(tree.Root()) &&
            tree.Size() == static_cast<int>(contents.size()));
  }
  auto expected = contents.begin();
  for (const auto& [key, value] : omi_Btree<K, int>(tree)) {
    Require(expected != contents.end() && key == expected->first &&
            value == expected->second);
    ++expected;
  }
  Require(expected == contents.end());
  omi_BtreeIterator<K, int> back(tree);
  for (back.Last(); !back.AtEnd(); back.Prev()) {
    Require(back.Key() == (--expected)->first);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Choices choices(data, size);
  if (choices.Below(2) == 0) {
    Run<int>(choices, [](Choices& from) { return from.Take<std::int8_t>() * 1000; });
  } else {
    Run<cow_String>(choices, [](Choices& from) {
      return cow_String(from.TakeBytes(1 + static_cast<std::size_t>(from.Below(2))));
    });
  }
  return 0;
}
