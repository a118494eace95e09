#include <iostream>

#include "aio/aio_stdostream.h"
#include "Truss.h"
#include "utl/utl_Stream.h"

namespace {

// A line for each node or bar: its id and its share of the values.
template <class Row>
void PrintTable(utl_Stream& out, const char* head, const std::vector<Row>& rows,
                const Vector& values, int digits) {
  out << endl << head << endl;
  const auto share = values.size() / std::ssize(rows);
  Eigen::Index next = 0;
  for (const Row& row : rows) {
    out.Print(row.id, 10);
    for (Eigen::Index i = 0; i < share; ++i) {
      out.Print(values[next], digits + 10, digits);
      ++next;
      out.OptionalLineBreak();  // text held at the end would count for the next line
    }
    out << endl;
  }
}

}  // namespace

void Print(const Deck& deck, const Results& results, int digits) {
  constexpr int kLineWidth = 80;
  aio_stdostream standardOutput(std::cout);
  utl_Stream out(standardOutput, kLineWidth, digits, digits);
  out << endl << deck.title << endl;
  PrintTable(out, "      node   displacement x, y, z", deck.nodes, results.displacements,
             digits);
  PrintTable(out, "       bar   tension", deck.bars, results.forces, digits);
  PrintTable(out, "      node   reaction x, y, z", deck.nodes, results.reactions, digits);
}
