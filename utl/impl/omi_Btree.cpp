#include "utl/omi_Btree.h"

#include <algorithm>
#include <cstring>
#include <memory_resource>
#include <new>
#include <type_traits>
#include <utility>

#include "atr/atr_naturalOrder.h"
#include "platform/platform.h"

namespace {

int Compare(int searched, int key) {
  return static_cast<int>(static_cast<unsigned>(searched) - static_cast<unsigned>(key));
}

int Compare(const cow_String& searched, const cow_String& key) {
  return atr_getNaturalOrder() ? strnatcmp(searched.c_str(), key.c_str())
                               : std::strcmp(searched.c_str(), key.c_str());
}

// Memory for the nodes of one map. They lie side by side, in large pages where there are
// many, as a large map waits for little else than memory. What is given back serves the
// next nodes.
class NodeMemory : public std::pmr::memory_resource {
 private:
  // Where the blocks of nodes come from.
  class Blocks : public std::pmr::memory_resource {
    static constexpr std::size_t kLarge = std::size_t{256} * 1024;

    void* do_allocate(std::size_t size, std::size_t) override {
      return size < kLarge ? operator new(size) : blocks_.Take(size);
    }
    void do_deallocate(void* block, std::size_t size, std::size_t) override {
      if (size < kLarge) {
        operator delete(block);
      } else {
        platform::LargeBlocks::GiveBack(static_cast<char*>(block), size);
      }
    }
    bool do_is_equal(const memory_resource& other) const noexcept override {
      return this == &other;
    }

    platform::LargeBlocks blocks_;
  };

  struct Free {
    Free* next;
  };

  void* do_allocate(std::size_t size, std::size_t alignment) override {
    return free_ == nullptr ? memory_.allocate(size, alignment)
                            : std::exchange(free_, free_->next);
  }
  void do_deallocate(void* node, std::size_t, std::size_t) override {
    free_ = new (node) Free{free_};
  }
  bool do_is_equal(const memory_resource& other) const noexcept override {
    return this == &other;
  }

  static constexpr std::size_t kFirstBlock = 256;

  Blocks blocks_;
  std::pmr::monotonic_buffer_resource memory_{kFirstBlock, &blocks_};
  Free* free_ = nullptr;
};

// Deletes a subtree, turning it into a chain of right children on the way.
template <class Node>
void DeleteSubtree(Node* node, Node* Node::*left, Node* Node::*right,
                   std::pmr::memory_resource* memory) {
  while (node != nullptr) {
    if (Node* const child = node->*left) {
      node->*left = child->*right;
      child->*right = node;
      node = child;
    } else {
      Node* const next = std::exchange(node->*right, nullptr);
      std::pmr::polymorphic_allocator<>(memory).delete_object(node);
      node = next;
    }
  }
}

// The root of a map, or null without one.
template <class K, class V>
const omi_BtreeNode<K, V>* RootOf(const omi_Btree<K, V>* tree) {
  return tree != nullptr ? tree->Root() : nullptr;
}

// Subtrees of this height are prefetched as a whole.
constexpr int kPrefetchedHeight = 10;

// Asks for the memory of a subtree level by level, so that the nodes of a level come at
// once. In a large map a walk waits for little else.
template <class Node>
void Prefetch(const Node* root) {
  constexpr std::size_t kMost = 1024;  // few subtrees of that height have more nodes
  const Node* nodes[kMost + 2];
  nodes[0] = root;
  std::size_t count = 1;
  for (std::size_t i = 0; i < count && count < kMost; ++i) {
    for (const Node* const child : {nodes[i]->Left(), nodes[i]->Right()}) {
      __builtin_prefetch(child);
      nodes[count] = child;
      count += child != nullptr ? 1 : 0;
    }
  }
  asm volatile("");  // g++ leaves out the calls of a function that does nothing else
}

// Extends the path by a node and what lies behind it.
template <auto behind, class Node>
void Descend(std::vector<const Node*>& path, const Node* node) {
  for (; node != nullptr; node = (node->*behind)()) {
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
  if (const Node* child = (node->*ahead)()) {
    if (node->Height() > kPrefetchedHeight) {
      for (; child != nullptr && child->Height() > kPrefetchedHeight;
           child = (child->*behind)()) {
        path.push_back(child);
      }
      if (child != nullptr) {
        Prefetch(child);
      }
    }
    Descend<behind>(path, child);
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

// Fills the slot, which is empty, with a copy of the subtree; when that throws, with a
// part of it.
template <class K, class V>
void omi_BtreeNode<K, V>::Copy(omi_BtreeNode*& to, const omi_BtreeNode* subtree,
                               std::pmr::memory_resource* memory) {
  std::vector<std::pair<omi_BtreeNode**, const omi_BtreeNode*>> open = {{&to, subtree}};
  while (!open.empty()) {
    const auto [slot, source] = open.back();
    open.pop_back();
    if (source == nullptr) {
      continue;
    }
    omi_BtreeNode* const copy = *slot =
        Allocator(memory).new_object<omi_BtreeNode>(source->key_, source->value_);
    copy->height_ = source->height_;
    open.push_back({&copy->left_, source->left_});
    open.push_back({&copy->right_, source->right_});
  }
}

template <class K, class V>
omi_BtreeNode<K, V>::~omi_BtreeNode() {
  for (omi_BtreeNode* const child : {left_, right_}) {
    DeleteSubtree(child, &omi_BtreeNode::left_, &omi_BtreeNode::right_,
                  std::pmr::new_delete_resource());
  }
}

template <class K, class V>
bool omi_BtreeNode<K, V>::Insert(const K& key, const V& value) {
  omi_BtreeNode* self = this;
  Path path = {&self};
  return InsertAt(path, key, value, std::pmr::new_delete_resource());
}

template <class K, class V>
bool omi_BtreeNode<K, V>::InsertAt(Path& path, const K& key, const V& value,
                                   std::pmr::memory_resource* memory) {
  if (Seek(path, key)) {
    return false;
  }
  *path.back() = Allocator(memory).new_object<omi_BtreeNode>(key, value);
  Retrace(path);
  return true;
}

template <class K, class V>
bool omi_BtreeNode<K, V>::Remove(const K& key, omi_BtreeNode& parent) {
  omi_BtreeNode* self = this;
  Path path = {&self};
  if (!RemoveAt(path, key, std::pmr::new_delete_resource())) {
    return false;
  }
  if (self != this) {
    (parent.right_ == this ? parent.right_ : parent.left_) = self;
    parent.UpdateHeight();
  }
  return true;
}

template <class K, class V>
bool omi_BtreeNode<K, V>::RemoveAt(Path& path, const K& key,
                                   std::pmr::memory_resource* memory) {
  if (!Seek(path, key)) {
    return false;
  }
  omi_BtreeNode*& slot = *path.back();
  omi_BtreeNode* const node = std::exchange(slot, slot->TakeReplacement());
  Allocator(memory).delete_object(node);
  if (path.size() > 1 && slot != nullptr) {
    Rebalance(slot);
  }
  Retrace(path);
  return true;
}

// Continues the path from its last slot to that of the key's node, or to the empty one
// where it would be. A retrace will ask both children for their heights.
template <class K, class V>
bool omi_BtreeNode<K, V>::Seek(Path& path, const K& key) {
  for (omi_BtreeNode* node = *path.back(); node != nullptr; node = *path.back()) {
    __builtin_prefetch(node->left_);
    __builtin_prefetch(node->right_);
    const int comparison = Compare(key, node->key_);
    if (comparison == 0) {
      return true;
    }
    path.push_back(comparison < 1 ? &node->left_ : &node->right_);
  }
  return false;
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

// Rebalances upwards after a change in the last slot of the path; but not what is in the
// first. It continues above a height that did not change: stopping there would give
// another shape.
template <class K, class V>
void omi_BtreeNode<K, V>::Retrace(Path& path) {
  for (path.pop_back(); path.size() > 1; path.pop_back()) {
    (*path.back())->UpdateHeight();
    Rebalance(*path.back());
  }
  if (!path.empty()) {
    (*path.back())->UpdateHeight();
  }
}

template <class K, class V>
void omi_BtreeNode<K, V>::Rebalance(omi_BtreeNode*& slot) {
  omi_BtreeNode* const node = slot;
  omi_BtreeNode* const left = node->left_;
  omi_BtreeNode* const right = node->right_;
  const int lean =
      (right != nullptr ? right->height_ : 0) - (left != nullptr ? left->height_ : 0);
  // Heights are not negative, so the higher side is there.
  if (lean >= 2) {
    node->right_ = right->left_;  // NOLINT(clang-analyzer-core.NullDereference)
    right->left_ = node;
    slot = right;
  } else if (lean <= -2) {
    node->left_ = left->right_;  // NOLINT(clang-analyzer-core.NullDereference)
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
omi_Btree<K, V>::omi_Btree() : root_(nullptr), count_(0), nullValue_(GetNullValue()) {}

template <class K, class V>
omi_Btree<K, V>::omi_Btree(const omi_Btree& other) : omi_Btree() {
  if (!other.IsEmpty()) {
    memory_ = std::make_unique<NodeMemory>();
    omi_BtreeNode<K, V>::Copy(root_, other.root_, memory_.get());
    count_ = other.count_;
  }
}

template <class K, class V>
omi_Btree<K, V>& omi_Btree<K, V>::operator=(const omi_Btree& other) {
  if (this == &other) {
    return *this;
  }
  omi_Btree copy(other);
  std::swap(root_, copy.root_);
  std::swap(memory_, copy.memory_);
  std::swap(count_, copy.count_);
  return *this;
}

template <class K, class V>
omi_Btree<K, V>::~omi_Btree() {
  if constexpr (!std::is_trivially_destructible_v<K>) {
    DeleteSubtree(root_, &omi_BtreeNode<K, V>::left_, &omi_BtreeNode<K, V>::right_,
                  memory_.get());
  }
}

template <class K, class V>
bool omi_Btree<K, V>::Insert(const K& key, const V& value) {
  if (memory_ == nullptr) {
    memory_ = std::make_unique<NodeMemory>();
  }
  path_ = {&root_};
  if (!omi_BtreeNode<K, V>::InsertAt(path_, key, value, memory_.get())) {
    return false;
  }
  omi_BtreeNode<K, V>::Rebalance(root_);
  ++count_;
  return true;
}

template <class K, class V>
bool omi_Btree<K, V>::Remove(const K& key) {
  path_ = {&root_};
  if (!omi_BtreeNode<K, V>::RemoveAt(path_, key, memory_.get())) {
    return false;
  }
  --count_;
  if (root_ == nullptr) {
    memory_ = nullptr;  // returns all of it
  } else {
    omi_BtreeNode<K, V>::Rebalance(root_);
  }
  return true;
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
  Descend<&Node::Left>(path_, RootOf(tree_));
}

template <class K, class V>
void omi_BtreeIterator<K, V>::Last() {
  path_.clear();
  Descend<&Node::Right>(path_, RootOf(tree_));
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
