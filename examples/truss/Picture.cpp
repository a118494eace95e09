#include <algorithm>
#include <cmath>
#include <Eigen/Geometry>
#include <fstream>
#include <iomanip>
#include <numbers>
#include <numeric>
#include <sstream>

#include "Truss.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_TrackedOperation.h"

namespace {

using Points = std::vector<Eigen::Vector2d>;

constexpr double kWidth = 720, kHeight = 540;  // of the frame itself
constexpr double kEdge = 40, kHead = 70, kFoot = 90;
constexpr double kShown = 0.08;  // of the frame's size: the largest displacement

// Follows the colours of the page or the browser. Forces have theirs anywhere.
constexpr char kStyle[] = R"(<style>
  text { font: 14px system-ui, sans-serif; fill: #1b2733; }
  .title { font-size: 20px; }
  .before { stroke: #5a6876; stroke-opacity: 0.7; stroke-dasharray: 4 4; }
  .bars { stroke-linecap: round; }
  .held { fill: #1b2733; }
  .paper { fill: #ffffff; }
  @media (prefers-color-scheme: dark) {
    text, .held { fill: #e4e9ee; }
    .before { stroke: #9aa7b3; }
    .paper { fill: #14191f; }
  }
  @media print { text, .held { fill: #000000; } .paper { fill: #ffffff; } }
</style>
)";

// Text as XML, which knows no control characters; a deck's may be of any encoding.
std::string XmlText(const std::string& text) {
  std::string xml;
  for (const char c : text) {
    const char* const names[] = {"&amp;", "&lt;", "&gt;"};
    const std::string_view special = "&<>";
    const std::size_t at = special.find(c);
    if (at != std::string_view::npos) {
      xml += names[at];
    } else {
      xml += c < ' ' || c > '~' ? '?' : c;
    }
  }
  return xml;
}

// Blue for tension, red for compression, the paler the less there is of it.
std::string Colour(double part) {
  const double none[] = {176, 184, 192}, tension[] = {31, 101, 178},
               compression[] = {192, 42, 42};
  std::ostringstream text;
  text << "rgb(";
  for (int i = 0; i < 3; ++i) {
    const double full = part < 0 ? compression[i] : tension[i];
    text << (i > 0 ? "," : "")
         << std::lround(none[i] + std::abs(part) * (full - none[i]));
  }
  return text.str() + ')';
}

// From the front of a plane frame; of others from above, with z upwards.
class View {
 public:
  explicit View(const Deck& deck) {
    Eigen::AlignedBox3d box;
    for (const Node& node : deck.nodes) {
      box.extend(node.xyz);
    }
    if (box.sizes().z() == 0) {
      across_ = {1, 0, 0};
      upwards_ = {0, 1, 0};
      return;
    }
    const double turn = std::numbers::pi / 6, tilt = std::numbers::pi / 9;
    across_ = {std::cos(turn), std::sin(turn), 0};
    upwards_ = {-std::sin(turn) * std::sin(tilt), std::cos(turn) * std::sin(tilt),
                std::cos(tilt)};
  }

  Eigen::Vector2d Of(const Eigen::Vector3d& place) const {
    return {across_.dot(place), -upwards_.dot(place)};
  }

 private:
  Eigen::Vector3d across_, upwards_;
};

// The largest of 1, 2, 5, 10, 20 ... that is not above, or below 1 its like.
double Rounded(double value) {
  const double power = std::pow(10, std::floor(std::log10(value)));
  return (value < 2 * power ? 1 : value < 5 * power ? 2 : 5) * power;
}

// The nodes' places, moved by so many times their displacements.
Points Places(const Deck& deck, const Results& results, const View& view, double factor) {
  Points points;
  for (Eigen::Index row = 0; const Node& node : deck.nodes) {
    points.push_back(
        view.Of(node.xyz + factor * results.displacements.segment<3>(3 * row)));
    ++row;
  }
  return points;
}

Eigen::AlignedBox2d BoxOf(const Points& points) {
  Eigen::AlignedBox2d box;
  for (const Eigen::Vector2d& point : points) {
    box.extend(point);
  }
  return box;
}

// Moves and scales points in common so that all of them fill the frame.
void Fit(Points& before, Points& after) {
  const Eigen::AlignedBox2d box = BoxOf(before).merged(BoxOf(after));
  const Eigen::Vector2d extent = box.sizes();
  const double scale = std::min(kWidth / extent.x(), kHeight / extent.y());
  const Eigen::Vector2d middle = box.min() + extent / 2;
  for (Points* points : {&before, &after}) {
    for (Eigen::Vector2d& point : *points) {
      point = (point - middle) * scale +
              Eigen::Vector2d(kEdge + kWidth / 2, kHead + kHeight / 2);
    }
  }
}

void DrawLine(std::ostream& svg, const Points& points, const Bar& bar) {
  const Eigen::Vector2d& a = points[std::size_t(bar.rows[0])];
  const Eigen::Vector2d& b = points[std::size_t(bar.rows[1])];
  svg << "<line x1='" << a.x() << "' y1='" << a.y() << "' x2='" << b.x() << "' y2='"
      << b.y() << '\'';
}

std::string Number(double value) {
  std::ostringstream text;
  text << std::setprecision(4) << value + 0.0;  // which makes 0 of -0
  return text.str();
}

void DrawLegend(std::ostream& svg, double most, double factor) {
  const double top = kHead + kHeight + 30, left = kEdge, width = 300;
  svg << "<defs><linearGradient id='forces'>";
  for (const double part : {-1.0, 0.0, 1.0}) {
    svg << "<stop offset='" << (part + 1) / 2 << "' stop-color='" << Colour(part)
        << "'/>";
  }
  svg << "</linearGradient></defs>\n<rect x='" << left << "' y='" << top << "' width='"
      << width << "' height='12' fill='url(#forces)'/>\n";
  const std::pair<const char*, std::string> marks[] = {
      {"compression", Number(-most)}, {"", "0"}, {"tension", Number(most)}};
  const char* const anchors[] = {"start", "middle", "end"};
  for (int i = 0; const auto& [above, below] : marks) {
    const double x = left + i * width / 2;
    svg << "<g text-anchor='" << anchors[i] << "'><text x='" << x << "' y='" << top - 6
        << "'>" << above << "</text><text x='" << x << "' y='" << top + 28 << "'>"
        << below << "</text></g>\n";
    ++i;
  }
  svg << "<line class='before' x1='" << kEdge + kWidth - 250 << "' y1='" << top + 6
      << "' x2='" << kEdge + kWidth - 210 << "' y2='" << top + 6 << "'/>\n<text x='"
      << kEdge + kWidth << "' y='" << top + 11
      << "' text-anchor='end'>before; displacements x " << Number(factor) << "</text>\n";
}

// The bars where their nodes are, those that carry most in front.
void DrawBars(std::ostream& svg, const Deck& deck, const Vector& forces, double most,
              const Points& points) {
  std::vector<std::size_t> order(deck.bars.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::stable_sort(
      order, {}, [&](std::size_t row) { return std::abs(forces[Eigen::Index(row)]); });
  const double thinnest = deck.bars.size() > 100 ? 0.6 : 2;
  svg << "<g class='bars'>\n";
  for (const std::size_t row : order) {
    const double tension = forces[Eigen::Index(row)];
    const double part = most > 0 ? tension / most : 0;
    DrawLine(svg, points, deck.bars[row]);
    svg << " stroke='" << Colour(part) << "' stroke-width='"
        << thinnest + 3 * std::abs(part) << "'><title>bar " << deck.bars[row].id << ": "
        << Number(tension) << "</title></line>\n";
  }
  svg << "</g>\n";
}

// Dots on the nodes that are held in more than one direction.
void DrawHeld(std::ostream& svg, const Deck& deck, const Points& points) {
  svg << "<g class='held'>\n";
  for (std::size_t i = 0; i < deck.nodes.size(); ++i) {
    if (std::ranges::count(deck.nodes[i].held, true) > 1) {
      svg << "<circle cx='" << points[i].x() << "' cy='" << points[i].y()
          << "' r='5'/>\n";
    }
  }
  svg << "</g>\n";
}

std::string PictureOf(const Deck& deck, const Results& results) {
  const View view(deck);
  Points before = Places(deck, results, view, 0);
  const double largest = results.displacements.lpNorm<Eigen::Infinity>();
  const double factor =
      largest > 0 ? Rounded(kShown * BoxOf(before).sizes().maxCoeff() / largest) : 1;
  Points after = Places(deck, results, view, factor);
  Fit(before, after);
  for (const Eigen::Vector2d& point : after) {
    Check(point.allFinite(), deck.name, "cannot be drawn");
  }

  std::ostringstream svg;
  svg << std::fixed << std::setprecision(2)
      << "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 " << kWidth + 2 * kEdge
      << ' ' << kHead + kHeight + kFoot << "' role='img'>\n"
      << "<title>" << XmlText(deck.title) << "</title>\n"
      << kStyle
      << "<rect class='paper' width='100%' height='100%'/>\n<text class='title' x='"
      << kEdge << "' y='36'>" << XmlText(Shortened(deck.title, 70))
      << "</text>\n<g class='before'>\n";
  for (const Bar& bar : deck.bars) {
    DrawLine(svg, before, bar);
    svg << "/>\n";
  }
  svg << "</g>\n";
  const double force = results.forces.lpNorm<Eigen::Infinity>();
  DrawBars(svg, deck, results.forces, force, after);
  DrawHeld(svg, deck, after);
  DrawLegend(svg, force, factor);
  svg << "</svg>\n";
  return svg.str();
}

}  // namespace

void Draw(const std::string& name, const Deck& deck, const Results& results) {
  const std::string picture = PictureOf(deck, results);
  utl_TrackedOperation writing(utl_TrackedWrite, name);
  std::ofstream out(name, std::ios::binary);
  out << picture;
  out.close();
  Check(bool(out), name, "cannot be written");
  writing.SetBytes(picture.size());
}
