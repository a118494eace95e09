#pragma once

#include <array>
#include <Eigen/SparseCore>
#include <string>
#include <utility>
#include <vector>

#include "utl/utl_CommandLine.h"

struct Node {
  int id, line;
  Eigen::Vector3d xyz, load;
  std::array<bool, 3> held;
};
struct Bar {
  int id, line;
  std::array<int, 2> ends, rows;  ///< the nodes' ids, and their places in `nodes`
  double area, modulus;
};

/// A pin-jointed frame, rows in the order of its deck: text, one record a line, words
/// separated by blanks or tabs, "#" starts a comment, in any order
///     title TEXT...          at most once
///     material E             Young's modulus, for the bars that follow
///     node ID X Y Z          IDs: integers from 1 on, nodes and bars numbered apart
///     bar ID NODE NODE AREA
///     fix NODE xyz           directions held; of several records, all
///     load NODE FX FY FZ     of several records, the sum
struct Deck {
  std::string name, title;  ///< as the deck's file was named; "" without a title
  std::vector<Node> nodes;
  std::vector<Bar> bars;
};

using Matrix = Eigen::SparseMatrix<double>;
using Vector = Eigen::VectorXd;
/// The frame's equations. Rows: three a node. Columns: of `pull` the forces that stretch
/// a bar by a unit tension, of `free` a 1 for a direction that is not held.
struct Equations {
  Matrix pull, free;
  Vector stiffness, loads;  ///< a bar's tension per elongation; on the nodes
};
struct Results {
  Vector displacements, forces, reactions;  ///< forces: tension positive
};

/// What is kept of a job: lists of numbers, each under its name.
///     node ids, bar ids            one of each
///     bar nodes                    the ids of both ends of each
///     node places                  x, y, z of each
///     bar areas, bar moduli        one of each bar
///     displacements, reactions     x, y, z of each node
///     forces                       one of each bar
struct Record {
  std::string title;
  std::vector<std::pair<std::string, std::vector<int>>> integers;
  std::vector<std::pair<std::string, std::vector<double>>> reals;
};

/// What the command line asks for.
struct Options {
  std::string deck, result;                 ///< the result: the path of the section file
  std::string exported, imported, picture;  ///< "" when not asked for
  int digits;
};

/// Prints how the program is called, with an example.
void PrintUsage();
/// Throws std::invalid_argument for what the program does not take, and when what it is
/// to write could not be written.
Options ReadOptions(const utl_CommandLine& line);

/// Throws the nex_TextException "FILE:LINE: REASON", or "FILE: REASON", unless it is
/// good.
void Check(bool isGood, const std::string& file, const std::string& reason, int line = 0);

/// A text that may be endless, without its middle if it has more than so many characters.
std::string Shortened(const std::string& text, std::size_t most = 200);

/// The first three throw as Check does for a bad line, a mechanism, numbers too large.
Deck ReadDeck(const std::string& name);
Equations Assemble(const Deck& deck);
Results Solve(const Deck& deck, const Equations& equations);
/// Tables on standard output, with that many digits a number.
void Print(const Deck& deck, const Results& results, int digits);

Record RecordOf(const Deck& deck, const Results& results);
/// Sets the sections of the multisection file `path`, "title" and the lists, and compares
/// what it reads there.
void Save(const std::string& path, const Record& record);
/// Writes the file anew, as one binary stream: eight letters, the title, then each list
/// with the number of its elements before it.
void Export(const std::string& name, const Record& record);
/// Throws as Check does unless it is such a file of this record.
void Import(const std::string& name, const Record& record);

/// Draws the deformed frame as an SVG file: bars coloured by their forces, with a legend,
/// the undeformed frame behind it.
void Draw(const std::string& name, const Deck& deck, const Results& results);
