#include <cmath>
#include <Eigen/SparseCholesky>

#include "Truss.h"

Equations Assemble(const Deck& deck) {
  const auto rows = 3 * std::ssize(deck.nodes), bars = std::ssize(deck.bars);
  Equations equations{Matrix(rows, bars), Matrix(rows, rows), Vector(bars), Vector(rows)};
  for (int column = 0; const Bar& bar : deck.bars) {
    const Eigen::Vector3d span =
        deck.nodes[bar.rows[1]].xyz - deck.nodes[bar.rows[0]].xyz;
    const double length = span.stableNorm(), stiffness = bar.modulus * bar.area / length;
    Check(std::isnormal(length) && std::isnormal(stiffness), deck.name,
          "a bar of a stiffness out of range", bar.line);
    for (int i = 0; i < 3; ++i) {
      equations.pull.insert(3 * bar.rows[0] + i, column) = -span[i] / length;
      equations.pull.insert(3 * bar.rows[1] + i, column) = span[i] / length;
    }
    equations.stiffness[column++] = stiffness;
  }
  int count = 0;
  for (int row = 0; row < rows; ++row) {
    equations.loads[row] = deck.nodes[row / 3].load[row % 3];
    if (!deck.nodes[row / 3].held[row % 3]) {
      equations.free.insert(row, count++) = 1;
    }
  }
  equations.free.conservativeResize(rows, count);
  return equations;
}

Results Solve(const Deck& deck, const Equations& equations) {
  const auto& [pull, free, stiffness, loads] = equations;
  const Matrix freePull = free.transpose() * pull;
  const Matrix matrix = freePull * stiffness.asDiagonal() * freePull.transpose();
  const Eigen::SimplicialLDLT<Matrix> factors(matrix);
  // A pivot is the energy of a motion. That of a mechanism is rounding, not what the
  // bars' stretching in the motion gives; no more is one that has lost all its digits.
  for (int i = 0; i < matrix.rows(); ++i) {
    const int at = factors.permutationPinv().indices()[i];
    const double pivot = factors.vectorD()[i];
    double energy = pivot;
    if (pivot < 1e-4 * matrix.coeff(at, at) && factors.info() == Eigen::Success) {
      Vector motion = Vector::Unit(matrix.rows(), i);
      factors.matrixU().solveInPlace(motion);
      motion = freePull.transpose() * (factors.permutationPinv() * motion);
      energy = motion.dot(stiffness.asDiagonal() * motion);
    }
    const auto row = Matrix::InnerIterator(free, at).row();
    const Node& node = deck.nodes[row / 3];
    Check(pivot > 0 && std::abs(energy - pivot) < 0.01 * pivot, deck.name,
          "a mechanism: node " + std::to_string(node.id) + " is free to move in " +
              "xyz"[row % 3],
          node.line);
  }
  Results results{free * factors.solve(free.transpose() * loads), {}, {}};
  results.forces = stiffness.asDiagonal() * (pull.transpose() * results.displacements);
  results.reactions = pull * results.forces - loads;
  results.reactions -= free * (free.transpose() * results.reactions);
  Check(results.reactions.allFinite(), deck.name, "loads out of range",
        deck.nodes[0].line);
  return results;
}
