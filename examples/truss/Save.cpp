#include <filesystem>

#include "nex/nex_TextException.h"
#include "Truss.h"
#include "utl/utl_MultisectionFile.h"

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
  const auto& [displacements, forces, reactions] = results;
  const std::pair<cow_String, std::string> sections[] = {
      {"title", Bytes(deck.title.c_str(), deck.title.Length())},
      {"nodes",
       Bytes(counts, 1) + Column(deck.nodes, &Node::id) + Column(deck.nodes, &Node::xyz)},
      {"bars", Bytes(counts + 1, 1) + Column(deck.bars, &Bar::id) +
                   Column(deck.bars, &Bar::ends) + Column(deck.bars, &Bar::area) +
                   Column(deck.bars, &Bar::modulus)},
      {"displacements", Bytes(displacements.data(), displacements.size())},
      {"forces", Bytes(forces.data(), forces.size())},
      {"reactions", Bytes(reactions.data(), reactions.size())}};
  {
    // Updating refuses a file that is locked or another kind; writing would empty it.
    const bool exists = std::filesystem::exists(path.c_str());
    utl_MultisectionFile file(path, exists ? utl_FileAccessUpdate : utl_FileAccessWrite);
    for (const auto& [name, bytes] : sections) {
      file.setSectionData(name, bytes.data(), int(bytes.size()));
    }
    file.saveChanges();
  }
  utl_MultisectionFile file(path, utl_FileAccessRead);
  for (const auto& [name, bytes] : sections) {
    std::string saved(std::size_t(file.getSectionLength(name)), '\0');
    file.getSectionData(name, saved.data());
    if (saved != bytes) {
      nex_TextException(path + ": section " + name + " is not what was saved")
          .Throw("examples/truss/Save", __LINE__);
    }
  }
}
