// A million int keys in random order, beside std::map and the recursive insertion that
// the rules of the tree suggest.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "utl/omi_Btree.h"

namespace {

constexpr int kKeys = 1000000;

using Map = omi_Btree<int, int>;
using Standard = std::map<int, int>;

// The yardstick: same shape, one node a call.
class Recursive {
 public:
  void Insert(int key, int value) {
    root_ = Balanced(Inserted(std::move(root_), key, value));
  }

  bool Has(int key) const { return Has(root_.get(), key); }

  template <class Use>
  void Walk(Use use) const {
    Walk(root_.get(), use);
  }

 private:
  struct Node;
  using Owner = std::unique_ptr<Node>;
  struct Node {
    int value, key;
    Owner left, right;
    int height;
  };

  static int Above(const Owner& child) { return child ? child->height + 1 : 0; }
  static int Counted(const Owner& child) { return child ? child->height : 0; }
  static void Measure(Node& node) {
    node.height = std::max(Above(node.left), Above(node.right));
  }

  static Owner Balanced(Owner node) {
    const int lean = Counted(node->right) - Counted(node->left);
    if (lean > -2 && lean < 2) {
      return node;
    }
    Owner Node::*const up = lean > 0 ? &Node::right : &Node::left;
    Owner Node::*const down = lean > 0 ? &Node::left : &Node::right;
    Owner top = std::move((*node).*up);
    (*node).*up = std::move((*top).*down);
    Measure(*node);
    (*top).*down = std::move(node);
    Measure(*top);
    return top;
  }

  static Owner Inserted(Owner node, int key, int value) {
    if (!node) {
      return Owner(new Node{value, key, nullptr, nullptr, 0});
    }
    if (key != node->key) {
      Owner& side = key < node->key ? node->left : node->right;
      side = Balanced(Inserted(std::move(side), key, value));
      Measure(*node);
    }
    return node;
  }

  static bool Has(const Node* node, int key) {
    return node != nullptr &&
           (key == node->key ||
            Has((key < node->key ? node->left : node->right).get(), key));
  }

  template <class Use>
  static void Walk(const Node* node, Use use) {
    if (node != nullptr) {
      Walk(node->left.get(), use);
      use(node->key);
      Walk(node->right.get(), use);
    }
  }

  Owner root_;
};

const std::vector<int>& Keys() {
  static const std::vector<int> keys = [] {
    std::vector<int> shuffled(kKeys);
    for (int i = 0; i < kKeys; ++i) {
      shuffled[static_cast<std::size_t>(i)] = i;
    }
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(1));
    return shuffled;
  }();
  return keys;
}

void Insert(Map& map, int key) {
  map.Insert(key, key);
}
void Insert(Standard& map, int key) {
  map.insert({key, key});
}
void Insert(Recursive& map, int key) {
  map.Insert(key, key);
}

bool Has(const Map& map, int key) {
  return map.Find(key) == key;
}
bool Has(const Standard& map, int key) {
  return map.find(key) != map.end();
}
bool Has(const Recursive& map, int key) {
  return map.Has(key);
}

void Remove(Map& map, int key) {
  map.Remove(key);
}
void Remove(Standard& map, int key) {
  map.erase(key);
}

template <class Use>
void Walk(const Map& map, Use use) {
  omi_BtreeIterator<int, int> i(map);
  for (i.First(); !i.AtEnd(); i.Next()) {
    use(i.Key());
  }
}
template <class Use>
void Walk(const Standard& map, Use use) {
  for (const auto& [key, value] : map) {
    use(key);
  }
}
template <class Use>
void Walk(const Recursive& map, Use use) {
  map.Walk(use);
}

template <class Tree>
void Fill(Tree& tree) {
  for (const int key : Keys()) {
    Insert(tree, key);
  }
}

template <class Tree>
void BM_Insert(benchmark::State& state) {
  Keys();
  for (auto _ : state) {
    auto tree = std::make_unique<Tree>();
    Fill(*tree);
    state.PauseTiming();
    tree.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Tree>
void BM_Find(benchmark::State& state) {
  Tree tree;
  Fill(tree);
  std::vector<int> asked = Keys();
  std::shuffle(asked.begin(), asked.end(), std::mt19937(2));
  for (auto _ : state) {
    for (const int key : asked) {
      benchmark::DoNotOptimize(Has(tree, key));
    }
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Tree>
void BM_Walk(benchmark::State& state) {
  Tree tree;
  Fill(tree);
  for (auto _ : state) {
    Walk(tree, [](int key) { benchmark::DoNotOptimize(key); });
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Tree>
void BM_Remove(benchmark::State& state) {
  std::vector<int> order = Keys();
  std::shuffle(order.begin(), order.end(), std::mt19937(3));
  for (auto _ : state) {
    state.PauseTiming();
    Tree tree;
    Fill(tree);
    state.ResumeTiming();
    for (const int key : order) {
      Remove(tree, key);
    }
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

BENCHMARK(BM_Insert<Map>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert<Standard>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert<Recursive>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Find<Map>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Find<Standard>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Find<Recursive>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Walk<Map>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Walk<Standard>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Walk<Recursive>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Remove<Map>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Remove<Standard>)->Unit(benchmark::kMillisecond);

}  // namespace
