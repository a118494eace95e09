#include "Truss.h"

Blocks BlocksOf(const Deck& deck, const Results& results) {
  const int counts[] = {int(deck.nodes.size()), int(deck.bars.size())};
  const auto numbers = [](const Vector& values) {
    return Bytes(values.data(), values.size());
  };
  return {{"title", deck.title},
          {"nodes", Bytes(counts, 1) + Column(deck.nodes, &Node::id) +
                        Column(deck.nodes, &Node::xyz)},
          {"bars", Bytes(counts + 1, 1) + Column(deck.bars, &Bar::id) +
                       Column(deck.bars, &Bar::ends) + Column(deck.bars, &Bar::area) +
                       Column(deck.bars, &Bar::modulus)},
          {"displacements", numbers(results.displacements)},
          {"forces", numbers(results.forces)},
          {"reactions", numbers(results.reactions)}};
}
