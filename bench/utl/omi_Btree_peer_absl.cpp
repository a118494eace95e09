#include <absl/container/btree_map.h>

#include "omi_Btree_works.h"

namespace {

const bench::Part part([] {
  AddTree<MapTree<absl::btree_map<int, int>>>("absl::btree_map");
});

}  // namespace
