#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/Dense>
#include <utility>

#include "common/temp/TempDir.h"
#include "examples/truss/Truss.h"
#include "nex/nex_TextException.h"
#include "truss_job.h"

namespace {

struct Solved {
  Deck deck;
  Results results;
};

Solved SolveDeck(const std::string& path) {
  Solved solved{ReadDeck(path), {}};
  solved.results = Solve(solved.deck, Assemble(solved.deck));
  return solved;
}

Solved SolveText(const std::string& text) {
  return SolveDeck(TrussJob(text).DeckPath());
}

double Length(const Deck& deck, const Bar& bar) {
  return (deck.nodes[bar.rows[1]].xyz - deck.nodes[bar.rows[0]].xyz).norm();
}

// All displacements by the textbook: a full matrix, held rows and columns replaced.
Eigen::VectorXd DenseDisplacements(const Deck& deck) {
  const int size = 3 * static_cast<int>(deck.nodes.size());
  Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(size, size);
  for (const Bar& bar : deck.bars) {
    const int a = 3 * bar.rows[0];
    const int b = 3 * bar.rows[1];
    const double length = Length(deck, bar);
    const Eigen::Vector3d span =
        deck.nodes[bar.rows[1]].xyz - deck.nodes[bar.rows[0]].xyz;
    const Eigen::Matrix3d block =
        bar.modulus * bar.area / (length * length * length) * span * span.transpose();
    matrix.block<3, 3>(a, a) += block;
    matrix.block<3, 3>(b, b) += block;
    matrix.block<3, 3>(a, b) -= block;
    matrix.block<3, 3>(b, a) -= block;
  }
  Eigen::VectorXd loads(size);
  for (int i = 0; i < size; ++i) {
    const Node& node = deck.nodes[i / 3];
    loads[i] = node.held[i % 3] ? 0 : node.load[i % 3];
    if (node.held[i % 3]) {
      matrix.row(i).setZero();
      matrix.col(i).setZero();
      matrix(i, i) = 1;
    }
  }
  return matrix.llt().solve(loads);
}

// A triangle of base 6 and height 4 (bars of length 5, E A = 400) carries 6 sideways and
// 16 down at its top.
constexpr char kTwoBars[] =
    "material 200\n"
    "node 1 -3 0 0\nnode 2 3 0 0\nnode 7 0 4 0\n"
    "bar 1 1 7 2\nbar 2 2 7 2\n"
    "fix 1 xyz\nfix 2 xyz\nfix 7 z\n"
    "load 7 6 -16 0\n";

TEST(TrussSolveTest, TwoBarsAsByHand) {
  const auto [deck, results] = SolveText(kTwoBars);
  const double cubeOverTwiceStiffness = 125.0 / 800;
  Eigen::VectorXd displacements = Eigen::VectorXd::Zero(9);
  displacements[6] = 6 * cubeOverTwiceStiffness / 9;
  displacements[7] = -16 * cubeOverTwiceStiffness / 16;
  EXPECT_TRUE(results.displacements.isApprox(displacements, 1e-14));
  EXPECT_TRUE(results.forces.isApprox(Eigen::Vector2d(-5, -15), 1e-14));
  Eigen::VectorXd reactions(9);
  reactions << 3, 4, 0, -9, 12, 0, 0, 0, 0;
  EXPECT_TRUE(results.reactions.isApprox(reactions, 1e-14));
}

TEST(TrussSolveTest, APulledBarIsInTension) {
  const auto [deck, results] = SolveText(
      "material 10\nnode 1 0 0 0\nnode 2 2 0 0\nbar 5 2 1 3\n"
      "fix 1 xyz\nfix 2 yz\nload 2 6 0 0\n");
  EXPECT_DOUBLE_EQ(results.forces[0], 6);
  EXPECT_DOUBLE_EQ(results.displacements[3], 6 * 2.0 / 30);
}

TEST(TrussSolveTest, LoadsOnHeldDirectionsGoIntoTheSupports) {
  const auto [deck, results] = SolveText(
      "material 10\nnode 1 0 0 0\nnode 2 2 0 0\nbar 5 2 1 3\n"
      "fix 1 xyz\nfix 2 xyz\nload 2 6 7 0\n");
  EXPECT_TRUE(results.displacements.isZero(0));
  EXPECT_TRUE(results.forces.isZero(0));
  EXPECT_TRUE(results.reactions.tail<3>().isApprox(Eigen::Vector3d(-6, -7, 0), 1e-15));
}

TEST(TrussSolveTest, SlenderFramesAreNoMechanisms) {
  // Crowns so shallow that their stiffness is 2e-8 and 2e-12 of their bars'.
  for (const auto& [rise, load] : {std::pair("1e-4", "-1e-9"), {"1e-6", "-1e-13"}}) {
    const auto [deck, results] = SolveText(
        "material 1\nnode 1 -1 0 0\nnode 2 1 0 0\nnode 3 0 " + std::string(rise) +
        " 0\nbar 1 1 3 1\nbar 2 2 3 1\nfix 1 xyz\n"
        "fix 2 xyz\nfix 3 z\nload 3 0 " +
        load + " 0\n");
    EXPECT_NEAR(results.displacements[7], -0.05, 1e-8) << rise;
  }
}

// A ladder of `bays` in the plane, its bars' areas by turns, without supports in it.
std::string Ladder(int bays, const std::vector<std::string>& areas) {
  std::string text = "material 1\n";
  for (int node = 1; node <= 2 * bays + 2; ++node) {
    const std::string id = std::to_string(node);
    text += "node " + id + (node % 2 != 0 ? " 0 " : " 0.3 ");
    text += std::to_string((node - 1) / 2) + " 0\nfix " + id + " z\n";
  }
  std::size_t bars = 0;
  const auto add = [&](int a, int b) {
    text += "bar " + std::to_string(bars + 1) + ' ' + std::to_string(a) + ' ' +
            std::to_string(b) + ' ' + areas[bars % areas.size()] + '\n';
    ++bars;
  };
  add(1, 2);
  for (int bay = 0; bay < bays; ++bay) {
    const int node = 2 * bay + 1;
    add(node, node + 2);
    add(node + 1, node + 3);
    add(node + 2, node + 3);
    add(node, node + 3);
  }
  return text;
}

TEST(TrussSolveTest, LaddersThatTurnAreMechanismsWhateverTheirBars) {
  const std::vector<std::vector<std::string>> rows = {
      {"1"}, {"1", "1e-4", "1e-2"}, {"1e-6", "1", "1"}, {"1", "1e-6", "1"}};
  for (const auto& areas : rows) {
    for (const int bays : {1, 3, 5, 40}) {
      const std::string ladder = Ladder(bays, areas);
      for (int hinge = 1; hinge <= 2 * bays + 2; ++hinge) {
        try {
          SolveText(ladder + "fix " + std::to_string(hinge) + " xyz\n");
          ADD_FAILURE() << bays << " bays, hinge at " << hinge << ", " << areas[0];
        } catch (const nex_TextException& refusal) {
          EXPECT_THAT(refusal.AsString().c_str(), testing::HasSubstr(": a mechanism: "));
        }
      }
      const Results results =
          SolveText(ladder + "fix 1 xyz\nfix 2 xyz\nload 3 1 0 0\n").results;
      EXPECT_NEAR(results.reactions.sum(), -1, 1e-6) << bays << " bays, " << areas[0];
    }
  }
}

class TrussShippedTest : public testing::TestWithParam<const char*> {};

TEST_P(TrussShippedTest, IsInEquilibrium) {
  const auto [deck, results] = SolveDeck(ShippedDeck(GetParam()));
  Eigen::Vector3d force = Eigen::Vector3d::Zero();
  Eigen::Vector3d moment = Eigen::Vector3d::Zero();
  double size = 0;
  for (std::size_t row = 0; row < deck.nodes.size(); ++row) {
    const Node& node = deck.nodes[row];
    const Eigen::Vector3d outer =
        node.load + results.reactions.segment<3>(3 * Eigen::Index(row));
    force += outer;
    moment += node.xyz.cross(outer);
    size += outer.norm() * (1 + node.xyz.norm());
  }
  EXPECT_LT(force.norm(), 1e-10 * size);
  EXPECT_LT(moment.norm(), 1e-10 * size);
  EXPECT_GT(results.reactions.norm(), 1);
}

TEST_P(TrussShippedTest, IsInEquilibriumAtEveryNode) {
  const auto [deck, results] = SolveDeck(ShippedDeck(GetParam()));
  Eigen::VectorXd rest = results.reactions;
  for (std::size_t row = 0; row < deck.nodes.size(); ++row) {
    rest.segment<3>(3 * Eigen::Index(row)) += deck.nodes[row].load;
  }
  for (std::size_t row = 0; row < deck.bars.size(); ++row) {
    const Bar& bar = deck.bars[row];
    const Eigen::Vector3d span =
        deck.nodes[bar.rows[1]].xyz - deck.nodes[bar.rows[0]].xyz;
    const Eigen::Vector3d pull =
        results.forces[static_cast<int>(row)] / span.norm() * span;
    rest.segment<3>(3 * Eigen::Index{bar.rows[0]}) += pull;
    rest.segment<3>(3 * Eigen::Index{bar.rows[1]}) -= pull;
  }
  EXPECT_LT(rest.lpNorm<Eigen::Infinity>(),
            1e-8 * results.forces.lpNorm<Eigen::Infinity>());
}

TEST_P(TrussShippedTest, HasNoReactionsWhereFree) {
  const auto [deck, results] = SolveDeck(ShippedDeck(GetParam()));
  for (int i = 0; i < results.reactions.size(); ++i) {
    const bool isHeld = deck.nodes[i / 3].held[i % 3];
    EXPECT_TRUE(isHeld || results.reactions[i] == 0) << i;
    EXPECT_TRUE(!isHeld || results.displacements[i] == 0) << i;
  }
}

TEST_P(TrussShippedTest, AgreesWithADenseSolve) {
  const auto [deck, results] = SolveDeck(ShippedDeck(GetParam()));
  const Eigen::VectorXd dense = DenseDisplacements(deck);
  EXPECT_LT((results.displacements - dense).norm(), 1e-9 * dense.norm());
}

INSTANTIATE_TEST_SUITE_P(Decks, TrussShippedTest,
                         testing::Values("plane_truss", "space_truss", "tower"),
                         [](const auto& row) { return std::string(row.param); });

double Weight(const Deck& deck) {
  double weight = 0;
  for (const Bar& bar : deck.bars) {
    weight += 0.1 * bar.area * Length(deck, bar);
  }
  return weight;
}

TEST(TrussShippedDecksTest, ThePlaneTrussHasThePublishedWeightAndLimits) {
  const auto [deck, results] = SolveDeck(ShippedDeck("plane_truss"));
  ASSERT_EQ(deck.bars.size(), 10u);
  EXPECT_NEAR(Weight(deck), 5060.85, 0.1);
  // The design lies on its limits: 2 in at node 1, 25 ksi in bar 5.
  EXPECT_NEAR(results.displacements.lpNorm<Eigen::Infinity>(), 2, 1e-4);
  EXPECT_NEAR(results.displacements[1], -2, 1e-4);
  EXPECT_NEAR(results.forces[4] / deck.bars[4].area, 25, 1e-2);
}

TEST(TrussShippedDecksTest, TheSpaceTrussHasThePublishedWeightAndLimits) {
  const auto [deck, results] = SolveDeck(ShippedDeck("space_truss"));
  ASSERT_EQ(deck.bars.size(), 25u);
  EXPECT_NEAR(Weight(deck), 545.22, 0.1);
  EXPECT_NEAR(results.displacements[1], 0.35, 1e-4);
  EXPECT_NEAR(results.displacements[4], 0.35, 1e-4);
}

TEST(TrussShippedDecksTest, TheTowerHasTwoThousandBars) {
  const Deck deck = ReadDeck(ShippedDeck("tower"));
  EXPECT_EQ(deck.bars.size(), 2040u);
  EXPECT_EQ(deck.nodes.size(), 484u);
}

}  // namespace
