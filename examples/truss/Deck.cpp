#include <algorithm>
#include <cfloat>
#include <charconv>
#include <iterator>
#include <map>
#include <sstream>

#include "Truss.h"
#include "utl/utl_File.h"
#include "utl/utl_FilePath.h"

namespace {

struct Reader {
  Deck deck;
  int line = 0;
  std::string text = {};  // the line without its comment
  std::vector<std::string> words = {};
  std::map<int, int> nodeRows = {}, barRows = {};  // of ids
  double modulus = 0;
  bool isHeld = false;

  // The file may be no deck at all, so words are cut and stripped to stay in one line.
  void Check(bool isGood, const std::string& reason, std::string word = {}) const {
    const auto isOdd = [](char c) { return c < ' ' || c > '~'; };
    std::ranges::replace_if(word, isOdd, '?');
    word = word.empty() ? "" : '"' + word.substr(0, 40) + '"';
    ::Check(isGood, deck.name, reason + word, line);
  }
  bool IsRecord(const std::string& form) const {
    const bool isRecord = form.starts_with(words[0] + ' ');
    const auto count = 1 + std::count(form.begin(), form.end(), ' ');
    Check(!isRecord || count <= std::ssize(words), "too few words, expected ", form);
    Check(!isRecord || count >= std::ssize(words), "too many words, expected ", form);
    return isRecord;
  }
  template <class Value>
  Value Number(int at, Value least, const char* kind) const {
    const char* const end = words[at].data() + words[at].size();
    Value value = 0;
    const auto [rest, error] = std::from_chars(words[at].data(), end, value);
    Check(error == std::errc() && rest == end && value >= least && value <= DBL_MAX,
          std::string("expected ") + kind + ", not ", words[at]);
    return value;
  }
  double Real(int at) const { return Number(at, -DBL_MAX, "a number"); }
  double Positive(int at) const { return Number(at, DBL_MIN, "a positive number"); }
  Eigen::Vector3d Vector(int at) const { return {Real(at), Real(at + 1), Real(at + 2)}; }
  int Id(int at) const { return Number(at, 1, "an id from 1 to 2147483647"); }
  int NewId(std::map<int, int>& rows) const {
    Check(rows.try_emplace(Id(1), int(rows.size())).second, "repeated id ", words[1]);
    return Id(1);
  }
  int NodeRow(int at) const {
    Check(nodeRows.contains(Id(at)), "unknown node ", words[at]);
    return nodeRows.at(Id(at));
  }
  // The first round: what records of the second may name before it stands.
  void TakeNode() {
    if (words[0] == "title") {
      Check(deck.title.IsEmpty(), "a second title");
      deck.title = cow_String(text.substr(text.find("title") + 5)).Trim(" \t\r");
    } else if (IsRecord("node ID X Y Z")) {
      deck.nodes.push_back({NewId(nodeRows), line, Vector(2), {0, 0, 0}, {}});
    }
  }
  void TakeOther() {
    if (IsRecord("material E")) {
      modulus = Positive(1);
    } else if (IsRecord("bar ID NODE NODE AREA")) {
      const std::array rows = {NodeRow(2), NodeRow(3)};
      Check(modulus > 0, "a bar before any material");
      Check(deck.nodes[rows[0]].xyz != deck.nodes[rows[1]].xyz, "a bar of zero length");
      deck.bars.push_back(
          {NewId(barRows), line, {Id(2), Id(3)}, rows, Positive(4), modulus});
    } else if (IsRecord("fix NODE xyz")) {
      for (const char c : words[2]) {
        Check(c >= 'x' && c <= 'z', "expected letters of xyz, not ", words[2]);
        deck.nodes[NodeRow(1)].held[c - 'x'] = isHeld = true;
      }
    } else if (IsRecord("load NODE FX FY FZ")) {
      deck.nodes[NodeRow(1)].load += Vector(2);
    } else {
      Check(words[0] == "title" || words[0] == "node", "unknown word ", words[0]);
    }
  }
};

}  // namespace

Deck ReadDeck(const cow_String& name) {
  Reader reader{{name, {}, {}, {}}};
  const utl_FilePath path(name, "");
  reader.Check(path.IsReadable() && !path.IsDir(), "cannot be read");
  utl_File file(path.AbsolutePathName(), utl_FileAccessRead, utl_FileShareDefault);
  std::string content(std::size_t(file.FileSize()), '\0');
  Tracked(&utl_IOTracker::CRead, path.AbsolutePathName(),
          [&] { return file.Read(content.data(), int(content.size())); });
  for (const auto take : {&Reader::TakeNode, &Reader::TakeOther}) {
    std::istringstream lines(content);
    for (reader.line = 1; std::getline(lines, reader.text); ++reader.line) {
      reader.text.resize(std::min(reader.text.find('#'), reader.text.size()));
      std::istringstream in(reader.text);
      reader.words.assign(std::istream_iterator<std::string>(in), {});
      if (!reader.words.empty()) {
        (reader.*take)();
      }
    }
  }
  reader.Check(!reader.deck.bars.empty(), "no bars");
  reader.Check(reader.isHeld, "no support");
  return reader.deck;
}
