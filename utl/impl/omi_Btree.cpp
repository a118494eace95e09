#include "utl/omi_Btree.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

#include "atr/atr_naturalOrder.h"

namespace {

// The order of insertion can make the tree much deeper than a balanced one: every walk is
// a loop, as recursion might exhaust the stack. Paths are rarely longer than this.
constexpr std::size_t kUsualDepth = 32;

int Compare(int searched, int key) {
  return static_cast<int>(static_cast<unsigned>(searched) - static_cast<unsigned>(key));
}

int Compare(const cow_String& searched, const cow_String& key) {
  return atr_getNaturalOrder() ? strnatcmp(searched.c_str(), key.c_str())
                               : std::strcmp(searched.c_str(), key.c_str());
}

// Deletes a subtree, turning it into a chain of right children on the way.
template <class Node>
void DeleteSubtree(Node* node, Node* Node::*left, Node* Node::*right) {
  while (node != nullptr) {
    if (Node* const child = node->*left) {
      node->*left = child->*right;
      child->*right = node;
      node = child;
    } else {
      Node* const next = std::exchange(node->*right, nullptr);
      delete node;
      node = next;
    }
  }
}

// The root of a map, or null without one.
template <class K, class V>
const omi_BtreeNode<K, V>* RootOf(const omi_Btree<K, V>* tree) {
  return tree != nullptr ? tree->Root() : nullptr;
}

// Extends the path from the root by a node and what lies behind it. The memory of what
// lies ahead of these, which comes next, is asked for early: in a large map the walk
// waits for little else.
template <auto ahead, auto behind, class Node>
void Descend(std::vector<const Node*>& path, const Node* node) {
  for (; node != nullptr; node = (node->*behind)()) {
    __builtin_prefetch((node->*ahead)());
    path.push_back(node);
  }
}

// Moves the end of the path to the next node in the direction `ahead`; the path is empty
// after the last.
template <auto ahead, auto behind, class Node>
void Step(std::vector<const Node*>& path) {
  if (path.empty()) {
    return;
  }
  const Node* node = path.back();
  if (const Node* const child = (node->*ahead)()) {
    Descend<ahead, behind>(path, child);
    return;
  }
  do {
    node = path.back();
    path.pop_back();
  } while (!path.empty() && (path.back()->*ahead)() == node);
}

}  // namespace

template <class K, class V>
omi_BtreeNode<K, V>::omi_BtreeNode(const K& key, const V& value)
    : value_(value), key_(key) {}

template <class K, class V>
omi_BtreeNode<K, V>::omi_BtreeNode(const omi_BtreeNode& other)
    : omi_BtreeNode(other.key_, other.value_) {
  height_ = other.height_;
  std::vector<std::pair<omi_BtreeNode**, const omi_BtreeNode*>> open = {
      {&left_, other.left_}, {&right_, other.right_}};
  while (!open.empty()) {
    const auto [slot, source] = open.back();
    open.pop_back();
    if (source == nullptr) {
      continue;
    }
    omi_BtreeNode* const copy = *slot = new omi_BtreeNode(source->key_, source->value_);
    copy->height_ = source->height_;
    open.push_back({&copy->left_, source->left_});
    open.push_back({&copy->right_, source->right_});
  }
}

template <class K, class V>
omi_BtreeNode<K, V>::~omi_BtreeNode() {
  DeleteSubtree(left_, &omi_BtreeNode::left_, &omi_BtreeNode::right_);
  DeleteSubtree(right_, &omi_BtreeNode::left_, &omi_BtreeNode::right_);
}

template <class K, class V>
bool omi_BtreeNode<K, V>::Insert(const K& key, const V& value) {
  std::vector<Step> path;
  path.reserve(kUsualDepth);
  for (omi_BtreeNode* node = this; node != nullptr; node = *path.back().child) {
    const int comparison = Compare(key, node->key_);
    if (comparison == 0) {
      return false;
    }
    path.push_back({node, node->ChildSlot(comparison)});
  }
  *path.back().child = new omi_BtreeNode(key, value);
  Retrace(path);
  return true;
}

template <class K, class V>
bool omi_BtreeNode<K, V>::Remove(const K& key, omi_BtreeNode& parent) {
  std::vector<Step> path;
  path.reserve(kUsualDepth);
  omi_BtreeNode* above = &parent;
  omi_BtreeNode* node = this;
  while (const int comparison = Compare(key, node->key_)) {
    omi_BtreeNode** const child = node->ChildSlot(comparison);
    if (*child == nullptr) {
      return false;
    }
    path.push_back({node, child});
    above = node;
    node = *child;
  }
  above->RemoveNode(node, node->TakeReplacement());
  Retrace(path);
  return true;
}

template <class K, class V>
omi_BtreeNode<K, V>* omi_BtreeNode<K, V>::Find(const K& key) const {
  auto* node = const_cast<omi_BtreeNode*>(this);  // as its parent would give it
  while (node != nullptr) {
    const int comparison = Compare(key, node->key_);
    if (comparison == 0) {
      break;
    }
    node = comparison < 1 ? node->left_ : node->right_;
  }
  return node;
}

template <class K, class V>
void omi_BtreeNode<K, V>::UpdateHeight() {
  height_ = std::max(left_ != nullptr ? left_->height_ + 1 : 0,
                     right_ != nullptr ? right_->height_ + 1 : 0);
}

// Rebalances upwards after a change at the end of the path. It continues above a height
// that did not change: stopping there would give another shape.
template <class K, class V>
void omi_BtreeNode<K, V>::Retrace(const std::vector<Step>& path) {
  for (auto step = path.rbegin(); step != path.rend(); ++step) {
    if (*step->child != nullptr) {
      Rebalance(*step->child);
    }
    step->node->UpdateHeight();
  }
}

template <class K, class V>
void omi_BtreeNode<K, V>::Rebalance(omi_BtreeNode*& slot) {
  omi_BtreeNode* const node = slot;
  omi_BtreeNode* const left = node->left_;
  omi_BtreeNode* const right = node->right_;
  const auto counted = [](const omi_BtreeNode* child) {
    return child != nullptr ? child->height_ : 0;
  };
  if (right != nullptr && right->height_ - counted(left) >= 2) {
    node->right_ = right->left_;
    right->left_ = node;
    slot = right;
  } else if (left != nullptr && left->height_ - counted(right) >= 2) {
    node->left_ = left->right_;
    left->right_ = node;
    slot = left;
  } else {
    return;
  }
  node->UpdateHeight();
  slot->UpdateHeight();
}

// The subtree that takes this node's place; this node is left without children. With two
// children its root is the smallest node of the right one, and the heights between that
// node's old parent and the right child stay as they were.
template <class K, class V>
omi_BtreeNode<K, V>* omi_BtreeNode<K, V>::TakeReplacement() {
  omi_BtreeNode* const left = std::exchange(left_, nullptr);
  omi_BtreeNode* const right = std::exchange(right_, nullptr);
  if (right == nullptr) {
    return left;
  }
  if (left == nullptr) {
    return right;
  }

  omi_BtreeNode* parent = nullptr;
  omi_BtreeNode* smallest = right;
  while (smallest->left_ != nullptr) {
    parent = smallest;
    smallest = smallest->left_;
  }
  if (parent != nullptr) {
    parent->left_ = smallest->right_;
    smallest->right_ = right;
    parent->UpdateHeight();
  }
  smallest->left_ = left;
  smallest->UpdateHeight();
  return smallest;
}

template <class K, class V>
void omi_BtreeNode<K, V>::RemoveNode(omi_BtreeNode* node, omi_BtreeNode* replacement) {
  (node == right_ ? right_ : left_) = replacement;
  UpdateHeight();
  delete node;
}

template <class K, class V>
omi_Btree<K, V>::omi_Btree() : root_(nullptr), count_(0), nullValue_(GetNullValue()) {}

template <class K, class V>
omi_Btree<K, V>::omi_Btree(const omi_Btree& other)
    : root_(other.root_ != nullptr ? new omi_BtreeNode<K, V>(*other.root_) : nullptr),
      count_(other.count_),
      nullValue_(other.nullValue_) {}

template <class K, class V>
omi_Btree<K, V>& omi_Btree<K, V>::operator=(const omi_Btree& other) {
  if (this == &other) {
    return *this;
  }
  omi_Btree copy(other);
  std::swap(root_, copy.root_);
  count_ = copy.count_;
  nullValue_ = copy.nullValue_;
  return *this;
}

template <class K, class V>
omi_Btree<K, V>::~omi_Btree() {
  delete root_;
}

template <class K, class V>
bool omi_Btree<K, V>::Insert(const K& key, const V& value) {
  if (root_ == nullptr) {
    root_ = new omi_BtreeNode<K, V>(key, value);
  } else {
    if (!root_->Insert(key, value)) {
      return false;
    }
    omi_BtreeNode<K, V>::Rebalance(root_);
  }
  ++count_;
  return true;
}

template <class K, class V>
bool omi_Btree<K, V>::Remove(const K& key) {
  if (root_ == nullptr) {
    return false;
  }
  omi_BtreeNode<K, V> above(root_->key_, nullValue_);
  above.left_ = root_;
  bool removed = false;
  try {
    removed = root_->Remove(key, above);
  } catch (...) {
    above.left_ = nullptr;  // the map keeps its nodes
    throw;
  }
  root_ = std::exchange(above.left_, nullptr);
  if (removed) {
    --count_;
  }
  if (removed && root_ != nullptr) {
    omi_BtreeNode<K, V>::Rebalance(root_);
  }
  return removed;
}

template <class K, class V>
V omi_Btree<K, V>::Find(const K& key) const {
  const omi_BtreeNode<K, V>* node = root_ != nullptr ? root_->Find(key) : nullptr;
  return node != nullptr ? node->Value() : nullValue_;
}

template <class K, class V>
V omi_Btree<K, V>::GetNullValue() const {
  if constexpr (std::is_pointer_v<V>) {
    return nullptr;
  } else {
    return -1;
  }
}

template <class K, class V>
omi_BtreeIterator<K, V> omi_Btree<K, V>::begin() const {
  omi_BtreeIterator<K, V> first(*this);
  first.First();
  return first;
}

template <class K, class V>
omi_BtreeIterator<K, V>::omi_BtreeIterator(const omi_Btree<K, V>& tree) : tree_(&tree) {}

template <class K, class V>
void omi_BtreeIterator<K, V>::First() {
  path_.clear();
  Descend<&Node::Right, &Node::Left>(path_, RootOf(tree_));
}

template <class K, class V>
void omi_BtreeIterator<K, V>::Last() {
  path_.clear();
  Descend<&Node::Left, &Node::Right>(path_, RootOf(tree_));
}

template <class K, class V>
void omi_BtreeIterator<K, V>::Next() {
  Step<&Node::Right, &Node::Left>(path_);
}

template <class K, class V>
void omi_BtreeIterator<K, V>::Prev() {
  Step<&Node::Left, &Node::Right>(path_);
}

template class omi_BtreeNode<int, int>;
template class omi_BtreeNode<cow_String, int>;
template class omi_BtreeNode<cow_String, void*>;
template class omi_Btree<int, int>;
template class omi_Btree<cow_String, int>;
template class omi_Btree<cow_String, void*>;
template class omi_BtreeIterator<int, int>;
template class omi_BtreeIterator<cow_String, int>;
template class omi_BtreeIterator<cow_String, void*>;
