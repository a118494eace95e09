#include <algorithm>
#include <cfloat>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <map>
#include <sstream>

#include "Truss.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_TrackedFile.h"

namespace {

struct Line {
  int number;
  std::string text;  // without its comment
  std::vector<std::string> words;
};

std::string ReadText(const std::string& name) {
  const utl_FilePath path(name, "");
  Check(path.IsReadable() && !std::filesystem::is_directory(path), name,
        "cannot be read");
  utl_TrackedFile file(path.AbsolutePathName(), utl_FileAccessRead, utl_FileShareDefault);
  std::string text(std::size_t(file.FileSize()), '\0');
  text.resize(std::size_t(file.Read(text.data(), int(text.size()))));
  return text;
}

// The lines that have words.
std::vector<Line> SplitLines(const std::string& text, int& lastNumber) {
  std::vector<Line> lines;
  std::istringstream in(text);
  Line line;
  for (line.number = 1; std::getline(in, line.text); ++line.number) {
    line.text.resize(std::min(line.text.find('#'), line.text.size()));
    std::istringstream words(line.text);
    line.words.assign(std::istream_iterator<std::string>(words), {});
    if (!line.words.empty()) {
      lines.push_back(line);
    }
  }
  lastNumber = line.number;
  return lines;
}

class Reader {
 public:
  explicit Reader(const std::string& name) { deck_.name = name; }

  // First what other records may name before it stands: title and nodes.
  Deck Read() {
    const std::vector<Line> lines = SplitLines(ReadText(deck_.name), lastNumber_);
    for (const Line& line : lines) {
      line_ = &line;
      TakeNode();
    }
    for (const Line& line : lines) {
      line_ = &line;
      TakeOther();
    }
    ::Check(!deck_.bars.empty(), deck_.name, "no bars", lastNumber_);
    ::Check(isHeld_, deck_.name, "no support", lastNumber_);
    return deck_;
  }

 private:
  // The file may be no deck at all, so words are cut and stripped to stay in one line.
  void Check(bool isGood, const std::string& reason, std::string word = {}) const {
    const auto isOdd = [](char c) { return c < ' ' || c > '~'; };
    std::ranges::replace_if(word, isOdd, '?');
    word = word.empty() ? "" : '"' + word.substr(0, 40) + '"';
    ::Check(isGood, deck_.name, reason + word, line_->number);
  }

  const std::string& Word(int at) const { return line_->words[std::size_t(at)]; }

  bool IsRecord(const std::string& form) const {
    const bool isRecord = form.starts_with(Word(0) + ' ');
    const auto count = 1 + std::count(form.begin(), form.end(), ' ');
    const auto given = std::ssize(line_->words);
    Check(!isRecord || count <= given, "too few words, expected ", form);
    Check(!isRecord || count >= given, "too many words, expected ", form);
    return isRecord;
  }

  template <class Value>
  Value Number(int at, Value least, const std::string& kind) const {
    const char* const end = Word(at).data() + Word(at).size();
    Value value = 0;
    const auto [rest, error] = std::from_chars(Word(at).data(), end, value);
    Check(error == std::errc() && rest == end && value >= least && value <= DBL_MAX,
          "expected " + kind + ", not ", Word(at));
    return value;
  }
  double Real(int at) const { return Number(at, -DBL_MAX, "a number"); }
  double Positive(int at) const { return Number(at, DBL_MIN, "a positive number"); }
  Eigen::Vector3d Vector(int at) const { return {Real(at), Real(at + 1), Real(at + 2)}; }
  int Id(int at) const { return Number(at, 1, "an id from 1 to 2147483647"); }

  int NewId(std::map<int, int>& rows) const {
    Check(rows.try_emplace(Id(1), int(rows.size())).second, "repeated id ", Word(1));
    return Id(1);
  }
  int NodeRow(int at) const {
    const auto found = nodeRows_.find(Id(at));
    Check(found != nodeRows_.end(), "unknown node ", Word(at));
    return found->second;
  }
  Node& NodeAt(int at) { return deck_.nodes[std::size_t(NodeRow(at))]; }

  void TakeNode() {
    if (Word(0) == "title") {
      Check(deck_.title.empty(), "a second title");
      const std::string title = line_->text.substr(line_->text.find("title") + 5);
      deck_.title = std::string(cow_String(title).Trim(" \t\r"));
    } else if (IsRecord("node ID X Y Z")) {
      deck_.nodes.push_back({NewId(nodeRows_), line_->number, Vector(2), {0, 0, 0}, {}});
    }
  }

  void TakeOther() {
    if (IsRecord("material E")) {
      modulus_ = Positive(1);
    } else if (IsRecord("bar ID NODE NODE AREA")) {
      TakeBar();
    } else if (IsRecord("fix NODE xyz")) {
      for (const char c : Word(2)) {
        Check(c >= 'x' && c <= 'z', "expected letters of xyz, not ", Word(2));
        NodeAt(1).held[std::size_t(c - 'x')] = true;
        isHeld_ = true;
      }
    } else if (IsRecord("load NODE FX FY FZ")) {
      NodeAt(1).load += Vector(2);
    } else {
      Check(Word(0) == "title" || Word(0) == "node", "unknown word ", Word(0));
    }
  }

  void TakeBar() {
    const std::array<int, 2> rows = {NodeRow(2), NodeRow(3)};
    Check(modulus_ > 0, "a bar before any material");
    Check(NodeAt(2).xyz != NodeAt(3).xyz, "a bar of zero length");
    const int id = NewId(barRows_);
    deck_.bars.push_back(
        {id, line_->number, {Id(2), Id(3)}, rows, Positive(4), modulus_});
  }

  Deck deck_;
  const Line* line_ = nullptr;
  int lastNumber_ = 0;
  std::map<int, int> nodeRows_, barRows_;  // of ids
  double modulus_ = 0;
  bool isHeld_ = false;
};

}  // namespace

Deck ReadDeck(const std::string& name) {
  return Reader(name).Read();
}
