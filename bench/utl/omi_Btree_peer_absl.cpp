#include <absl/container/btree_map.h>

#include "omi_Btree_works.h"

namespace {

class Tree {
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
  absl::btree_map<int, int> map_;
};

const bench::Part part([] { AddTree<Tree>("absl::btree_map"); });

}  // namespace
