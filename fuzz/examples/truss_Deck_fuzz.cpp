// Any text as a deck: it is refused in one line, or what was read is whole.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "examples/truss/Truss.h"
#include "fuzz/common/FuzzDirectory.h"
#include "fuzz/common/Require.h"
#include "nex/nex_TextException.h"

namespace {

void RequireWhole(const Deck& deck) {
  Require(!deck.bars.empty());
  for (const Node& node : deck.nodes) {
    Require(node.id > 0 && node.xyz.allFinite());
  }
  for (const Bar& bar : deck.bars) {
    Require(bar.id > 0 && bar.area > 0 && bar.modulus > 0 && std::isfinite(bar.area));
    for (std::size_t end = 0; end < 2; ++end) {
      Require(deck.nodes.at(static_cast<std::size_t>(bar.rows[end])).id == bar.ends[end]);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = FuzzDirectory::File("deck");
  FuzzDirectory::Write(path, {reinterpret_cast<const char*>(data), size});
  try {
    RequireWhole(ReadDeck(path));
  } catch (const nex_TextException& failure) {
    const std::string text(failure.AsString().c_str());
    Require(text.starts_with(path + ':') && text.find('\n') == std::string::npos);
  }
  return 0;
}
