#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <memory_resource>
#include <type_traits>
#include <utility>
#include <vector>

#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// An ordered map of unique keys to values: omi_Btree with its node and its iterator.
///
/// Despite its name it is a binary search tree, kept roughly balanced by single rotations
/// where the heights of two siblings differ by 2 or more. It is looser than an AVL tree,
/// and its shape is part of the contract: a missing child counts as height 0, the same as
/// a childless one; there are no double rotations; after a removal only the path from the
/// root to the removed node is rebalanced.
///
/// The library has three maps, <int,int>, <cow_String,int> and <cow_String,void*>, whose
/// pointers it does not own. One map is used by one thread at a time. It keeps the memory
/// of removed entries for new ones until it is empty.
///
///     omi_Btree<cow_String, int> ids;
///     ids.Insert("steel", 7);
///     ids.Find("steel");                            // 7
///     ids.Find("wood");                             // -1, the null value
///     for (const auto& [name, id] : ids) use(name, id);   // in the order of the keys
///     omi_BtreeIterator<cow_String, int> i(ids);
///     for (i.Last(); !i.AtEnd(); i.Prev()) use(i.Key(), i.Value());
///
/// Order of int keys: the sign of their difference in 32 bits, which overflows for keys
/// more than 2^31-1 apart; those compare the wrong way. Order of cow_String keys, up to
/// their first zero byte: unsigned bytes, or natural order while atr_getNaturalOrder() is
/// on; the switch must not change while a map holds entries.

template <class K, class V>
class KSTUTL_EXPORT omi_Btree;
template <class K, class V>
class KSTUTL_EXPORT omi_BtreeIterator;

/// Whether the library has the map of these keys and values.
template <class K, class V>
inline constexpr bool omi_BtreeExists =
    std::is_same_v<V, int> ? std::is_same_v<K, int> || std::is_same_v<K, cow_String>
                           : std::is_same_v<K, cow_String>&& std::is_same_v<V, void*>;

/// An entry of the map and the root of its subtree. Only the map uses what is not const.
template <class K, class V>
class KSTUTL_EXPORT omi_BtreeNode {
 public:
  /// A node without children, of height 0.
  omi_BtreeNode(const K& key, const V& value);
  ~omi_BtreeNode();
  omi_BtreeNode(const omi_BtreeNode&) = delete;
  omi_BtreeNode& operator=(const omi_BtreeNode&) = delete;

  const K& Key() const { return key_; }
  const V& Value() const { return value_; }
  const omi_BtreeNode* Left() const { return left_; }
  const omi_BtreeNode* Right() const { return right_; }
  /// 0 without children, else 1 more than the higher child's. After a removal it may be
  /// too high.
  int Height() const { return height_; }

  /// Adds the entry below this node and rebalances everything below it, but not this
  /// node. False, and nothing changed, when the key is present.
  bool Insert(const K& key, const V& value);

  /// Removes the entry of `key` at or below this node, whose parent is `parent`, and
  /// rebalances what lies between, but not this node. False when there is none. True may
  /// mean that this node itself is deleted.
  bool Remove(const K& key, omi_BtreeNode& parent);

  /// The node of `key` at or below this one, or null.
  omi_BtreeNode* Find(const K& key) const;

  // The rest is implementation.

 private:
  friend class omi_Btree<K, V>;

  using Allocator = std::pmr::polymorphic_allocator<>;
  // The slots on the way down, each but the first in the node of the one before.
  using Path = std::vector<omi_BtreeNode**>;

  static void Copy(omi_BtreeNode*& to, const omi_BtreeNode* subtree,
                   std::pmr::memory_resource* memory);
  static bool InsertAt(Path& path, const K& key, const V& value,
                       std::pmr::memory_resource* memory);
  static bool RemoveAt(Path& path, const K& key, std::pmr::memory_resource* memory);
  static bool Seek(Path& path, const K& key);
  static void Retrace(Path& path);
  static void Rebalance(omi_BtreeNode*& slot);
  void UpdateHeight();
  omi_BtreeNode* TakeReplacement();

  V value_;
  K key_;
  omi_BtreeNode* left_ = nullptr;
  omi_BtreeNode* right_ = nullptr;
  int height_ = 0;
};

template <class K, class V>
class KSTUTL_EXPORT omi_Btree {
  static_assert(omi_BtreeExists<K, V>,
                "omi_Btree exists for <int, int>, <cow_String, int> and "
                "<cow_String, void*> only: take std::map for other keys and values");

 public:
  omi_Btree();
  omi_Btree(const omi_Btree& other);
  /// Copies the other map's entries; when that throws, this map is as it was.
  omi_Btree& operator=(const omi_Btree& other);
  ~omi_Btree();

  /// Adds an entry. False when the key is present; its value stays as it is.
  bool Insert(const K& key, const V& value);

  /// Removes the entry of `key`. False when there is none.
  bool Remove(const K& key);

  /// The value of `key`, or GetNullValue().
  V Find(const K& key) const;

  /// What stands for no value: -1 for int values, null for pointers.
  V GetNullValue() const;

  int Size() const { return count_; }
  bool IsEmpty() const { return count_ == 0; }

  /// The root, or null for an empty map; valid until the map changes.
  const omi_BtreeNode<K, V>* Root() const { return root_; }

  /// The entries as a range of pairs, `first` the key and `second` the value, in the
  /// order of the keys. REQUIRES: the map stays as it is meanwhile.
  omi_BtreeIterator<K, V> begin() const;
  std::default_sentinel_t end() const { return {}; }

  // The rest is implementation.

 private:
  omi_BtreeNode<K, V>* root_;
  int count_;
  V nullValue_;
  std::unique_ptr<std::pmr::memory_resource> memory_;  // of the nodes; made for the first
  std::vector<omi_BtreeNode<K, V>**> path_;            // kept for its memory
};

/// Walks a map in the order of its keys, both ways. At the end to begin with. It must not
/// be used after the map has changed. To the standard library it is a forward iterator
/// over pairs of references.
template <class K, class V>
class KSTUTL_EXPORT omi_BtreeIterator {
 public:
  using iterator_concept = std::forward_iterator_tag;
  using value_type = std::pair<const K&, const V&>;
  using difference_type = std::ptrdiff_t;

  /// At the end of no map, where First and Last do nothing.
  omi_BtreeIterator() = default;
  explicit omi_BtreeIterator(const omi_Btree<K, V>& tree);

  /// Go to the smallest, to the largest key; to the end of an empty map.
  void First();
  void Last();

  /// Go to the next larger, to the next smaller key, or to the end after the last one.
  /// At the end they do nothing.
  void Next();
  void Prev();

  bool AtEnd() const { return path_.empty(); }

  /// The current entry. REQUIRES: !AtEnd().
  const K& Key() const { return path_.back()->Key(); }
  const V& Value() const { return path_.back()->Value(); }
  value_type operator*() const { return {Key(), Value()}; }

  /// As Next.
  omi_BtreeIterator& operator++() {
    Next();
    return *this;
  }
  omi_BtreeIterator operator++(int) {
    omi_BtreeIterator before = *this;
    Next();
    return before;
  }

  /// Whether both are at the same entry, or at the end. REQUIRES: they walk one map.
  bool operator==(const omi_BtreeIterator& other) const {
    return AtEnd() || other.AtEnd() ? AtEnd() == other.AtEnd()
                                    : path_.back() == other.path_.back();
  }
  bool operator==(std::default_sentinel_t) const { return AtEnd(); }

  // The rest is implementation.

 private:
  using Node = omi_BtreeNode<K, V>;

  const omi_Btree<K, V>* tree_ = nullptr;
  std::vector<const Node*> path_;  // from the root to the current node
};
