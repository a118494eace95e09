#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "cow/cow_String.h"

/// A digital search tree: every node holds a key with its value, and the way to a key
/// takes one bit of the key per level, whatever the other keys are. It is not balanced:
/// which keys are near the root depends on the order of insertion.
///
/// Threads: as for a standard container.
///
///     rgx_DigitalTree<int> lengths;
///     lengths.Insert("a+", 2);
///     *lengths.Find("a+");   // 2
template <class Value>
class rgx_DigitalTree {
 public:
  struct Node {
    cow_String key;
    Value value;
    std::unique_ptr<Node> child[2];
  };

  int Size() const noexcept { return size_; }
  /// The topmost node, null in an empty tree.
  const Node* Root() const noexcept { return root_.get(); }

  /// The key's value, null when it is absent; valid until the tree changes.
  const Value* Find(const cow_String& key) const {
    const std::unique_ptr<Node>& slot = Slot(root_, key);
    return slot != nullptr ? &slot->value : nullptr;
  }

  /// Adds the pair and returns the value; an equal key's value is replaced.
  const Value& Insert(const cow_String& key, Value value) {
    std::unique_ptr<Node>& slot = Slot(root_, key);
    if (slot != nullptr) {
      slot->value = std::move(value);
    } else {
      slot = std::make_unique<Node>(Node{key, std::move(value), {}});
      ++size_;
    }
    return slot->value;
  }

  /// Removes the key; an absent one changes nothing. Keys below it move up one level
  /// each, along a path that prefers second children, and the leaf at its end is deleted.
  void Remove(const cow_String& key) {
    std::unique_ptr<Node>* slot = &Slot(root_, key);
    if (*slot == nullptr) {
      return;
    }
    for (std::unique_ptr<Node>* next; (next = Successor(**slot)) != nullptr;) {
      (*slot)->key = (*next)->key;
      (*slot)->value = (*next)->value;
      slot = next;
    }
    slot->reset();
    --size_;
  }

  /// All keys, a node's before those of its first and then of its second subtree.
  std::vector<cow_String> Keys() const {
    std::vector<cow_String> keys;
    AppendKeys(root_.get(), keys);
    return keys;
  }

 private:
  // Where the key's node hangs or, when there is none, would hang.
  template <class Link>
  static Link& Slot(Link& root, const cow_String& key) {
    Link* slot = &root;
    for (int depth = 0; *slot != nullptr && !IsSame((*slot)->key, key); ++depth) {
      slot = &(*slot)->child[Bit(key, depth)];
    }
    return *slot;
  }

  // Keys that share storage, as those of a caller's constants do, need no comparison.
  static bool IsSame(const cow_String& a, const cow_String& b) {
    return a.Length() == b.Length() && (a.c_str() == b.c_str() || a == b);
  }

  // The characters are taken in turn from the front and from the back, since patterns
  // tend to begin alike.
  static std::size_t Bit(const cow_String& key, int depth) {
    if (depth > key.Length()) {
      return 0;
    }
    const int index = depth % 2 == 0 ? depth / 2 : key.Length() - depth / 2 - 1;
    return static_cast<std::size_t>(key[index] & 1);
  }

  static std::unique_ptr<Node>* Successor(Node& node) {
    for (std::unique_ptr<Node>* child : {&node.child[1], &node.child[0]}) {
      if (*child != nullptr) {
        return child;
      }
    }
    return nullptr;
  }

  static void AppendKeys(const Node* node, std::vector<cow_String>& keys) {
    if (node != nullptr) {
      keys.push_back(node->key);
      AppendKeys(node->child[0].get(), keys);
      AppendKeys(node->child[1].get(), keys);
    }
  }

  std::unique_ptr<Node> root_;
  int size_ = 0;
};
