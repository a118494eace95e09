// Ordered tree maps: entries, shape, walks.

#include <string>

#include "atr/atr_naturalOrder.h"
#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/omi_Btree.h"

namespace {

template <class Node>
std::string Shape(const Node* node) {
  return node == nullptr ? "-"
                         : "(" + Shape(node->Left()) + " " + Shown(node->Key()) + "/" +
                               Shown(node->Height()) + " " + Shape(node->Right()) + ")";
}

class Trees : public Subject {
 public:
  explicit Trees(Random& random) { atr_setNaturalOrder(random.OneIn(2)); }
  ~Trees() override { atr_setNaturalOrder(false); }

  void Run(Random& random, Log& log) override {
    if (random.OneIn(2)) {
      const int small = random.Below(30);
      const int key = random.OneIn(4) ? SomeInt(random) : small;
      Change("omi_Btree<int, int>", numbers_, key, random, log);
    } else {
      constexpr const char* kKeys[] = {
          "a", "b",    "file1", "file01", "file10", "file9", "file2", "",
          "A", "\xE4", "1",     "02",     "x1y2",   "x1y10", "10",    "9"};
      const std::string key = random.OneIn(4) ? SomeText(random) : random.Pick(kKeys);
      Change("omi_Btree<cow_String, int>", names_, cow_String(std::string_view(key)),
             random, log);
    }
  }

 private:
  template <class Key>
  static void Change(const char* name, omi_Btree<Key, int>& tree, const Key& key,
                     Random& random, Log& log) {
    const int what = random.Below(7);
    const int value = random.Below(1000);
    log.Call(name, key, what, value).Result([&] {
      std::string text;
      if (what < 4) {
        text = Shown(tree.Insert(key, value));
      } else if (what < 6) {
        text = Shown(tree.Remove(key));
      } else {
        const omi_Btree<Key, int> copy(tree);
        tree = copy;
        text = Walk(tree);
      }
      return Verbatim{ShownAll(tree.Find(key), tree.Size(), tree.IsEmpty()) + ", " +
                      text + " " + Shape(tree.Root())};
    });
  }

  template <class Key>
  static std::string Walk(const omi_Btree<Key, int>& tree) {
    std::string keys;
    omi_BtreeIterator<Key, int> iterator(tree);
    for (iterator.First(); !iterator.AtEnd(); iterator.Next()) {
      keys += Shown(iterator.Key()) + "=" + Shown(iterator.Value()) + " ";
    }
    for (iterator.Last(); !iterator.AtEnd(); iterator.Prev()) {
      keys += Shown(iterator.Value()) + " ";
    }
    return keys;
  }

  omi_Btree<int, int> numbers_;
  omi_Btree<cow_String, int> names_;
};

}  // namespace

std::unique_ptr<Subject> MakeTrees(World&, Random& random) {
  return std::make_unique<Trees>(random);
}
