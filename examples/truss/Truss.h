#pragma once

#include <array>
#include <cstdint>
#include <Eigen/SparseCore>
#include <functional>
#include <string>
#include <vector>

#include "cow/cow_String.h"
#include "utl/utl_IOTracker.h"

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
  cow_String name, title;  ///< as the deck's file was named; "" without a title
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

/// Throws the nex_TextException "FILE:LINE: REASON", or "FILE: REASON", unless it is
/// good.
void Check(bool isGood, const cow_String& file, const std::string& reason, int line = 0);

/// The first three throw so for a bad line, a mechanism, numbers too large.
Deck ReadDeck(const cow_String& name);
Equations Assemble(const Deck& deck);
Results Solve(const Deck& deck, const Equations& equations);
/// Tables on standard output, with that many digits a number.
void Print(const Deck& deck, const Results& results, int digits);

/// What is kept of a job: named blocks of 32-bit integers and doubles, little-endian
///     title                        text
///     nodes                        their number; ids; x, y, z of each
///     bars                         their number; ids; nodes of each; areas; moduli
///     displacements, reactions     x, y, z of each node
///     forces                       of the bars
using Blocks = std::vector<std::pair<cow_String, cow_String>>;
Blocks BlocksOf(const Deck& deck, const Results& results);
/// Sets the sections of the multisection file `path`, then compares what it reads there.
void Save(const cow_String& path, const Blocks& blocks);
/// Writes the file anew, as one binary stream: "KSTtruss", then each block as a string.
void Export(const cow_String& name, const Blocks& blocks);
/// Throws as Check does unless it is such a file of these blocks.
void Import(const cow_String& name, const Blocks& blocks);

/// Does `work`, a phase of the job: timed, and marked when it is done, in the logs that
/// the environment asks for. `timer`: 0 to 19.
void InPhase(int timer, const char* name, const std::function<void()>& work);
/// What the I/O tracker counts: `&utl_IOTracker::CRead` or `&utl_IOTracker::CWrite`.
using Operation = decltype(&utl_IOTracker::CRead);
/// Does `work`, which reads or writes that file and gives the number of bytes, and tells
/// the tracker if there is one.
void Tracked(Operation operation, const cow_String& file,
             const std::function<std::int64_t()>& work);
