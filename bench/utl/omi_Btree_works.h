#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench_work.h"

/// The keys 0 to count - 1 in an order that depends on the seed; made once.
inline const std::vector<int>& ShuffledKeys(int count, unsigned seed) {
  static std::map<std::pair<int, unsigned>, std::vector<int>> made;
  std::vector<int>& keys = made[{count, seed}];
  if (keys.empty()) {
    keys.resize(static_cast<std::size_t>(count));
    std::iota(keys.begin(), keys.end(), 0);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(seed));
  }
  return keys;
}

inline constexpr int kTreeSizes[] = {1000, 30000, 1000000};

inline std::string TreeWorkName(const char* work, int size) {
  return std::string("tree ") + work + ' ' + std::to_string(size);
}

// What a tree needs for the works: Insert, Has, Remove, and Walk with a function.

/// A map with the interface of std::map.
template <class Map>
class MapTree {
 public:
  void Insert(int key) { map_.insert({key, key}); }
  bool Has(int key) const { return map_.find(key) != map_.end(); }
  void Remove(int key) { map_.erase(key); }

  template <class Use>
  void Walk(Use use) const {
    for (const auto& [key, value] : map_) {
      use(key);
    }
  }

 private:
  Map map_;
};

template <class Tree>
void FillTree(Tree& tree, const std::vector<int>& keys) {
  for (const int key : keys) {
    tree.Insert(key);
  }
}

/// Puts all keys in and takes them out in another order; half way what is in it is
/// summed up.
template <class Tree>
long InsertAndErase(const std::vector<int>& in, const std::vector<int>& out) {
  Tree tree;
  FillTree(tree, in);
  long sum = 0;
  for (std::size_t i = 0; i < out.size(); ++i) {
    tree.Remove(out[i]);
    if (i == out.size() / 2) {
      sum = tree.Has(out[i]) + 2 * tree.Has(out.back());
    }
  }
  return sum;
}

template <class Tree>
long FindAll(const Tree& tree, const std::vector<int>& asked) {
  long found = 0;
  for (const int key : asked) {
    found += tree.Has(key);
  }
  return found;
}

/// A sum that depends on the order.
template <class Tree>
long WalkAll(const Tree& tree) {
  unsigned long sum = 0;
  tree.Walk([&sum](int key) { sum = sum * 31 + static_cast<unsigned long>(key); });
  return static_cast<long>(sum);
}

/// A tree that is filled when it is first used; copies have the same one.
template <class Tree>
class FilledTree {
 public:
  explicit FilledTree(int size) : size_(size) {}
  const Tree& Get() const {
    if (!*tree_) {
      *tree_ = std::make_unique<Tree>();
      FillTree(**tree_, ShuffledKeys(size_, 1));
    }
    return **tree_;
  }

 private:
  int size_;
  std::shared_ptr<std::unique_ptr<Tree>> tree_ =
      std::make_shared<std::unique_ptr<Tree>>();
};

/// Adds the coding to all works.
template <class Tree>
void AddTree(const char* coding) {
  for (const int size : kTreeSizes) {
    bench::Work(TreeWorkName("insert and erase", size)).Coding(coding, [size] {
      return InsertAndErase<Tree>(ShuffledKeys(size, 1), ShuffledKeys(size, 2));
    });
    const FilledTree<Tree> tree(size);
    bench::Work(TreeWorkName("find", size)).Coding(coding, [tree, size] {
      return FindAll(tree.Get(), ShuffledKeys(size, 2));
    });
    bench::Work(TreeWorkName("iterate", size)).Coding(coding, [tree] {
      return WalkAll(tree.Get());
    });
  }
}
