#include "common/Page.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numeric>

#include "common/PageAssets.h"
#include "utl/utl_NativePath.h"

namespace {

constexpr std::size_t kLongestName = 120;  // in bytes as shown
constexpr std::size_t kLongestText = 600;
constexpr std::size_t kRows = 1000;  // of a table

constexpr char kDoctype[] = "<!DOCTYPE html>";

bool ContinuesLetter(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Text of HTML, between tags or in an attribute's quotes.
std::string HtmlOf(const std::string& text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      default:
        html += c;
    }
  }
  return html;
}

// A list as JSON inside an element of scripts, which only "<" can end or open anything
// in.
std::string ScriptJson(const Json& list) {
  std::string text = "[";
  for (const Json& item : list) {
    text += text.size() > 1 ? ",\n" : "\n";
    for (const char c : item.dump()) {
      if (c == '<') {
        text += "\\u003c";
      } else {
        text += c;
      }
    }
  }
  return text + "\n]\n";
}

// How long a bar of the plot is, or all parts of it together.
double LengthOf(const BarPlot& plot, std::size_t row) {
  double length = 0;
  for (const BarSeries& series : plot.series) {
    const double value = series.values[row];
    const double part = std::isfinite(value) ? std::abs(value) : 0;
    length = plot.isStacked ? length + part : std::max(length, part);
  }
  return length;
}

// The places of the names that are plotted, in their order.
std::vector<std::size_t> Longest(const BarPlot& plot) {
  std::vector<std::size_t> rows(plot.names.size());
  std::iota(rows.begin(), rows.end(), std::size_t{0});
  std::stable_sort(rows.begin(), rows.end(), [&](std::size_t left, std::size_t right) {
    return LengthOf(plot, left) > LengthOf(plot, right);
  });
  rows.resize(std::min(rows.size(), plot.most));
  std::sort(rows.begin(), rows.end());
  return rows;
}

Json Picked(const std::vector<double>& values, const std::vector<std::size_t>& rows) {
  Json picked = Json::array();
  for (const std::size_t row : rows) {
    picked.push_back(values[row]);
  }
  return picked;
}

// What keeps a page from being written there, or "".
std::string ObstacleAt(const std::filesystem::path& path) {
  std::error_code ignored;
  const std::filesystem::file_status status = std::filesystem::status(path, ignored);
  if (!std::filesystem::exists(status)) {
    return "";
  }
  if (!std::filesystem::is_regular_file(status)) {
    return "is no file that a page could replace";
  }
  std::ifstream in(path, std::ios::binary);
  std::string head(sizeof kDoctype - 1, '\0');
  in.read(head.data(), static_cast<std::streamsize>(head.size()));
  const bool isEmpty = in.eof() && in.gcount() == 0;
  return isEmpty || head == kDoctype ? "" : "is there already, and is no page";
}

}  // namespace

std::string Grouped(std::int64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) {
    text.insert(at - 3, ",");
  }
  return text;
}

std::string FileNameOf(const std::string& path) {
  const std::string name = path.substr(path.find_last_of("/\\") + 1);
  return name.empty() ? path : name;
}

Page::Page(const std::string& tool, const std::string& title)
    : tool_(tool), title_(HtmlOf(Cut(title, kLongestText))) {}

void Page::Line(const std::string& text) {
  head_ += "<p>" + HtmlOf(Cut(text, kLongestText)) + "</p>\n";
}

void Page::Note(const std::string& text) {
  notes_ += "<p class=\"note\">" + HtmlOf(Cut(text, kLongestText)) + "</p>\n";
}

void Page::Figure(const std::string& name, const std::string& value) {
  figures_ +=
      "<div><dt>" + Escaped(name) + "</dt><dd>" + Escaped(value) + "</dd></div>\n";
}

void Page::Section(const std::string& title, const std::string& text) {
  sections_ += sections_.empty() ? "" : "</div>\n</section>\n";
  section_ = Escaped(title);
  sections_ += "<section>\n<h2>" + section_ + "</h2>\n";
  sections_ += text.empty() ? "" : "<p>" + HtmlOf(Cut(text, kLongestText)) + "</p>\n";
  sections_ += "<div class=\"parts\">\n";
}

void Page::Add(const BarPlot& plot) {
  const std::vector<std::size_t> rows = Longest(plot);
  if (std::ranges::all_of(rows, [&](auto row) { return LengthOf(plot, row) == 0; })) {
    return;
  }
  Json names = Json::array();
  for (const std::size_t row : rows) {
    names.push_back(Cut(plot.names[row], kLongestName));
  }
  Json all = Json::array();
  for (const BarSeries& series : plot.series) {
    all.push_back({{"name", Cut(series.name, kLongestName)},
                   {"values", Picked(series.values, rows)}});
    if (!series.shown.empty()) {
      all.back()["shown"] = Picked(series.shown, rows);
    }
  }
  std::string caption = plot.caption;
  if (rows.size() < plot.names.size()) {
    caption += fmt::format("; the {} largest of {}", rows.size(),
                           Grouped(std::ssize(plot.names)));
  }
  const std::size_t bars = plot.isStacked ? 1 : plot.series.size();
  AddPlot({{"kind", "bars"},
           {"unit", plot.unit},
           {"stacked", plot.isStacked},
           {"names", names},
           {"series", all}},
          caption, 90 + rows.size() * (12 + 12 * bars));
}

void Page::Add(const CurvePlot& plot) {
  Json all = Json::array();
  double most = 0;
  for (const Curve& curve : plot.curves) {
    Json one = {{"name", Cut(curve.name, kLongestName)},
                {"x", Json::array()},
                {"y", Json::array()},
                {"labels", Json::array()}};
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
      if (std::isfinite(curve.x[i])) {
        one["x"].push_back(curve.x[i]);
        one["y"].push_back(curve.y[i]);
        one["labels"].push_back(Cut(curve.labels[i], kLongestName));
        most = std::max(most, curve.x[i]);
      }
    }
    all.push_back(one);
  }
  if (most <= 0) {
    return;
  }
  Json ticks;
  for (const std::string& tick : plot.ticks) {
    ticks.push_back(Cut(tick, kLongestName));
  }
  AddPlot({{"kind", "curves"},
           {"unit", plot.unit},
           {"across", plot.across},
           {"most", most},
           {"stepped", plot.isStepped},
           {"ticks", ticks},
           {"series", all}},
          plot.caption, 320);
}

void Page::Add(const Table& table) {
  if (table.rows.empty()) {
    sections_ += "<p>None.</p>\n";
    return;
  }
  const bool isWide = table.texts.size() > 1;  // has no room beside a plot
  sections_ += fmt::format(
      "<div class=\"table{}\" tabindex=\"0\" role=\"region\" "
      "aria-label=\"{}\">",
      isWide ? " wide" : "", section_);
  if (table.rows.size() > kRows) {
    sections_ += fmt::format("<p>The first {} of {} rows; --json has all.</p>\n",
                             Grouped(kRows), Grouped(std::ssize(table.rows)));
  }
  sections_ += "<table>\n<thead><tr>";
  for (const std::string& title : table.texts) {
    sections_ += "<th class=\"text\" scope=\"col\">" + Escaped(title) + "</th>";
  }
  for (const std::string& title : table.numbers) {
    sections_ += "<th scope=\"col\">" + Escaped(title) + "</th>";
  }
  sections_ += "</tr></thead>\n<tbody>\n";
  for (std::size_t row = 0; row < std::min(kRows, table.rows.size()); ++row) {
    sections_ += "<tr>";
    for (std::size_t i = 0; i < table.rows[row].size(); ++i) {
      sections_ += i < table.texts.size() ? "<td class=\"text\">" : "<td>";
      sections_ += Escaped(table.rows[row][i]) + "</td>";
    }
    sections_ += "</tr>\n";
  }
  sections_ += "</tbody>\n</table></div>\n";
}

std::string Page::Html() const {
  std::string html = std::string(kDoctype) +
                     "\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                     "<meta name=\"viewport\" "
                     "content=\"width=device-width, initial-scale=1\">\n"
                     // Whatever got into the page, it fetches and tells nothing.
                     "<meta http-equiv=\"Content-Security-Policy\" "
                     "content=\"default-src 'none'; style-src 'unsafe-inline'; "
                     "script-src 'unsafe-inline'\">\n<title>";
  html += title_ + " - " + tool_ + "</title>\n<style>\n";
  html += PageStyle();
  html +=
      "</style>\n<noscript><style>figure { display: none; }</style></noscript>\n"
      "</head>\n<body>\n<header>\n<h1>" +
      title_ + "</h1>\n" + head_ + "</header>\n" + notes_ +
      "<noscript><p class=\"note\">The plots need scripts; the tables have the same "
      "numbers.</p></noscript>\n";
  html += figures_.empty() ? "" : "<dl class=\"figures\">\n" + figures_ + "</dl>\n";
  html += "<main>\n" + sections_;
  html += sections_.empty() ? "" : "</div>\n</section>\n";
  html += "</main>\n<footer>\n";
  html += isCut_ ? "<p>Long names are shown without their middle.</p>\n" : "";
  html += "<p>Made by " + tool_ + ".</p>\n</footer>\n";
  html += "<script type=\"application/json\" id=\"plots\">\n" + ScriptJson(plots_) +
          "</script>\n<!--\n";
  html += PageLicence();
  html += "-->\n<script>\n";
  html += PageChart();
  html += "\n</script>\n<script>\n";
  html += PagePlots();
  html += "</script>\n</body>\n</html>\n";
  return html;
}

std::string Page::Escaped(const std::string& name) {
  return HtmlOf(Cut(name, kLongestName));
}

std::string Page::Cut(const std::string& text, std::size_t longest) {
  std::string shown = Shown(text);
  if (shown.size() <= longest) {
    return shown;
  }
  isCut_ = true;
  std::size_t end = longest / 2;
  while (ContinuesLetter(shown[end])) {
    --end;
  }
  std::size_t rest = shown.size() - longest / 2;
  while (rest < shown.size() && ContinuesLetter(shown[rest])) {
    ++rest;
  }
  return shown.replace(end, rest - end, "\u2026");
}

void Page::AddPlot(const Json& data, const std::string& caption, std::size_t height) {
  const std::string shown = HtmlOf(Cut(caption, kLongestText));
  sections_ += fmt::format(
      "<figure>\n<figcaption>{}</figcaption>\n<div class=\"plot\" "
      "style=\"height:{}px\"><canvas role=\"img\" aria-label=\"{}\"></canvas></div>\n"
      "</figure>\n",
      shown, height, shown);
  plots_.push_back(data);
}

void WritePage(const std::string& path, const Page& page) {
  std::filesystem::path native = utl_nativePath(path);
  std::error_code error;
  // What a link leads to is replaced, not the link.
  if (std::filesystem::is_symlink(native, error)) {
    native = std::filesystem::canonical(native, error);
    if (error) {
      throw FileError(path, "leads nowhere");
    }
  }
  const std::string obstacle = ObstacleAt(native);
  if (!obstacle.empty()) {
    throw FileError(path, obstacle);
  }
  std::filesystem::path fresh = native;
  fresh += fmt::format(".{}.tmp", getpid());
  const std::string html = page.Html();
  std::ofstream out(fresh, std::ios::binary);
  out.write(html.data(), static_cast<std::streamsize>(html.size()));
  out.close();
  if (out) {
    std::filesystem::rename(fresh, native, error);
  }
  if (!out || error) {
    std::filesystem::remove(fresh, error);
    throw FileError(path, "could not be written");
  }
}
