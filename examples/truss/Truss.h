#pragma once

#include <array>
#include <Eigen/SparseCore>
#include <vector>

#include "../job/Job.h"

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

/// The first three throw as Check does for a bad line, a mechanism, numbers too large.
Deck ReadDeck(const cow_String& name);
Equations Assemble(const Deck& deck);
Results Solve(const Deck& deck, const Equations& equations);
/// Tables on standard output, with that many digits a number.
void Print(const Deck& deck, const Results& results, int digits);

/// What is kept of the job
///     title                        text
///     nodes                        int32 number, ids; float64 x, y, z of each
///     bars                         int32 number, ids, nodes; float64 areas, moduli
///     displacements, reactions     float64 x, y, z of each node
///     forces                       float64 of the bars
Blocks BlocksOf(const Deck& deck, const Results& results);
