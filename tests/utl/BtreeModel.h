#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "utl/omi_Btree.h"

/// The rules of the tree coded a second time: recursive, on indices into an array.
template <class K, class V>
class BtreeModel {
 public:
  using Order = std::function<int(const K&, const K&)>;
  explicit BtreeModel(Order order) : order_(std::move(order)) {}

  bool Insert(const K& key, const V& value) {
    bool added = false;
    root_ = Inserted(root_, key, value, added);
    if (added) {
      root_ = Rebalanced(root_);
    }
    return added;
  }

  bool Remove(const K& key) {
    bool removed = false;
    root_ = Removed(root_, key, removed);
    if (removed && root_ != kNone) {
      root_ = Rebalanced(root_);
    }
    return removed;
  }

  bool Equals(const omi_BtreeNode<K, V>* node) const { return Equals(node, root_); }

 private:
  static constexpr int kNone = -1;
  struct Entry {
    K key;
    V value;
    int left, right, height;
  };

  Entry& At(int i) { return entries_[static_cast<std::size_t>(i)]; }
  const Entry& At(int i) const { return entries_[static_cast<std::size_t>(i)]; }
  void Measure(int i) {
    int height = 0;
    for (int child : {At(i).left, At(i).right}) {
      if (child != kNone && At(child).height >= height) {
        height = At(child).height + 1;
      }
    }
    At(i).height = height;
  }
  int Counted(int i) const { return i == kNone ? 0 : At(i).height; }

  int Rebalanced(int i) {
    const int lean = Counted(At(i).right) - Counted(At(i).left);
    if (lean > -2 && lean < 2) {
      return i;
    }
    const bool toRight = lean > 0;
    const int up = toRight ? At(i).right : At(i).left;
    int& given = toRight ? At(up).left : At(up).right;
    (toRight ? At(i).right : At(i).left) = given;
    given = i;
    Measure(i);
    Measure(up);
    return up;
  }

  int Inserted(int i, const K& key, const V& value, bool& added) {
    if (i == kNone) {
      added = true;
      entries_.push_back({key, value, kNone, kNone, 0});
      return static_cast<int>(entries_.size()) - 1;
    }
    const int order = order_(key, At(i).key);
    if (order == 0) {
      return i;
    }
    const bool toRight = order > 0;
    const int child = Inserted(toRight ? At(i).right : At(i).left, key, value, added);
    (toRight ? At(i).right : At(i).left) = added ? Rebalanced(child) : child;
    if (added) {
      Measure(i);
    }
    return i;
  }

  int Removed(int i, const K& key, bool& removed) {
    if (i == kNone) {
      return kNone;
    }
    const int order = order_(key, At(i).key);
    if (order == 0) {
      removed = true;
      return Joined(At(i).left, At(i).right);
    }
    const bool toRight = order > 0;
    int child = Removed(toRight ? At(i).right : At(i).left, key, removed);
    if (!removed) {
      return i;
    }
    (toRight ? At(i).right : At(i).left) = child == kNone ? kNone : Rebalanced(child);
    Measure(i);
    return i;
  }

  int Joined(int left, int right) {
    if (left == kNone || right == kNone) {
      return left == kNone ? right : left;
    }
    int parent = kNone, smallest = right;
    while (At(smallest).left != kNone) {
      parent = smallest;
      smallest = At(smallest).left;
    }
    if (parent != kNone) {
      At(parent).left = At(smallest).right;
      At(smallest).right = right;
      Measure(parent);
    }
    At(smallest).left = left;
    Measure(smallest);
    return smallest;
  }

  bool Equals(const omi_BtreeNode<K, V>* node, int i) const {
    if (node == nullptr || i == kNone) {
      return node == nullptr && i == kNone;
    }
    return node->Key() == At(i).key && node->Value() == At(i).value &&
           node->Height() == At(i).height && Equals(node->Left(), At(i).left) &&
           Equals(node->Right(), At(i).right);
  }

  Order order_;
  std::vector<Entry> entries_;
  int root_ = kNone;
};
