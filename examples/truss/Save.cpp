#include "Truss.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_Stat.h"

template <class Value>
static std::string Bytes(const Value* values, std::ptrdiff_t count) {
  return {reinterpret_cast<const char*>(values), std::size_t(count) * sizeof(Value)};
}

template <class Row, class Field>
static std::string Column(const std::vector<Row>& rows, Field Row::*field) {
  std::string bytes;
  for (const Row& row : rows) {
    bytes += Bytes(&(row.*field), 1);
  }
  return bytes;
}

void Save(const cow_String& path, const Deck& deck, const Results& results) {
  const int counts[] = {int(deck.nodes.size()), int(deck.bars.size())};
  const std::pair<cow_String, std::string> sections[] = {
      {"title", Bytes(deck.title.c_str(), deck.title.Length())},
      {"nodes",
       Bytes(counts, 1) + Column(deck.nodes, &Node::id) + Column(deck.nodes, &Node::xyz)},
      {"bars", Bytes(counts + 1, 1) + Column(deck.bars, &Bar::id) +
                   Column(deck.bars, &Bar::ends) + Column(deck.bars, &Bar::area) +
                   Column(deck.bars, &Bar::modulus)},
      {"displacements",
       Bytes(results.displacements.data(), results.displacements.size())},
      {"forces", Bytes(results.forces.data(), results.forces.size())},
      {"reactions", Bytes(results.reactions.data(), results.reactions.size())}};
  // Updating refuses a file that is locked or another kind; writing would empty it.
  const bool isNew = !utl_FilePath(path, "").Exists() || utl_Stat(path).size == 0;
  utl_MultisectionFile file(path, isNew ? utl_FileAccessWrite : utl_FileAccessUpdate);
  for (const auto& [name, bytes] : sections) {
    file.setSectionData(name, bytes.data(), int(bytes.size()));
  }
  file.saveChanges();
  utl_MultisectionFile saved(path, utl_FileAccessRead);  // while no other can write
  for (const auto& [name, bytes] : sections) {
    std::string data(std::size_t(saved.getSectionLength(name)), '\0');
    saved.getSectionData(name, data.data());
    deck.Check(data == bytes, 0, "section " + std::string(name) + " was not saved well");
  }
}
