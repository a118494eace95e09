// The tree with int keys in random order.

#include "utl/omi_Btree.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include "omi_Btree_works.h"

namespace {

class Ours {
 public:
  void Insert(int key) { map_.Insert(key, key); }
  bool Has(int key) const { return map_.Find(key) == key; }
  void Remove(int key) { map_.Remove(key); }

  template <class Use>
  void Walk(Use use) const {
    omi_BtreeIterator<int, int> i(map_);
    for (i.First(); !i.AtEnd(); i.Next()) {
      use(i.Key());
    }
  }

 private:
  omi_Btree<int, int> map_;
};

// The recursive way that the rules of the tree suggest: the same shape, a call a node.
class Naive {
 public:
  void Insert(int key) { root_ = Balanced(Inserted(std::move(root_), key)); }
  void Remove(int key) { root_ = Balanced(Removed(std::move(root_), key)); }
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
    const int lean = node ? Counted(node->right) - Counted(node->left) : 0;
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

  static Owner Inserted(Owner node, int key) {
    if (!node) {
      return Owner(new Node{key, key, nullptr, nullptr, 0});
    }
    if (key != node->key) {
      Owner& side = key < node->key ? node->left : node->right;
      side = Balanced(Inserted(std::move(side), key));
      Measure(*node);
    }
    return node;
  }

  static Owner Removed(Owner node, int key) {
    if (!node) {
      return node;
    }
    if (key != node->key) {
      Owner& side = key < node->key ? node->left : node->right;
      side = Balanced(Removed(std::move(side), key));
      Measure(*node);
      return node;
    }
    if (!node->left || !node->right) {
      return std::move(node->left ? node->left : node->right);
    }
    const Node* next = node->right.get();
    while (next->left) {
      next = next->left.get();
    }
    node->key = next->key;
    node->value = next->value;
    node->right = Balanced(Removed(std::move(node->right), node->key));
    Measure(*node);
    return node;
  }

  static bool Has(const Node* node, int key) {
    return node != nullptr &&
           (key == node->key ||
            Has((key < node->key ? node->left : node->right).get(), key));
  }

  template <class Use>
  static void Walk(const Node* node, Use& use) {
    if (node != nullptr) {
      Walk(node->left.get(), use);
      use(node->key);
      Walk(node->right.get(), use);
    }
  }

  Owner root_;
};

}  // namespace

void bench::AddWorks() {
  AddTree<Ours>("ours");
  AddTree<Naive>("naive");
  AddTree<MapTree<std::map<int, int>>>("std::map");
  for (const char* const work : {"insert and erase", "find", "iterate"}) {
    Work(TreeWorkName(work, 30000)).Counted();
  }
}
