#include <iostream>

#include "aio/aio_ostrstream.h"
#include "Truss.h"
#include "utl/utl_Stream.h"

namespace {

// A line for each node or bar: its id and its share of the values.
template <class Row>
void PrintTable(utl_Stream& out, const char* head, const std::vector<Row>& rows,
                const Vector& values, int digits) {
  out << endl << head << endl;
  for (const double* value = values.data(); const Row& row : rows) {
    out.Print(row.id, 10);
    for (auto i = values.size() / std::ssize(rows); i > 0; --i) {
      out.Print(*value++, digits + 10, digits);
      out.OptionalLineBreak();  // text held at the end would count for the next line
    }
    out << endl;
  }
}

}  // namespace

void Print(const Deck& deck, const Results& results, int digits) {
  constexpr int kLineWidth = 80;
  aio_ostrstream text;
  utl_Stream out(text, kLineWidth, digits, digits);
  out << endl << deck.title << endl;
  PrintTable(out, "      node   displacement x, y, z", deck.nodes, results.displacements,
             digits);
  PrintTable(out, "       bar   tension", deck.bars, results.forces, digits);
  PrintTable(out, "      node   reaction x, y, z", deck.nodes, results.reactions, digits);
  std::cout << cow_String::Adopt(text.adoptString(&::operator new), int(text.length()));
}
