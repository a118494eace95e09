#include "utl/utl_BlkBitUtils.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "nex/nex_AssertException.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_BlkBitUtils";

constexpr std::uint64_t kWordBits = 32;
// In a piece, besides its first item.
constexpr int kMaxFurtherItems = 6;

void AppendNumber(std::string& text, std::uint64_t number, int base) {
  char digits[20];
  text.append(digits, std::to_chars(digits, std::end(digits), number, base).ptr);
}

void AppendItem(std::string& text, std::uint32_t word, std::uint64_t run) {
  text += '#';
  AppendNumber(text, word, 16);
  if (run > 1) {
    text += ':';
    AppendNumber(text, run, 10);
  }
}

// One past the word of the highest bit, at least 1.
std::uint64_t WordCount(const omi_BlkBitVect& mask) {
  const std::int64_t highest = omi_BlkBitVectTrav(mask).Last();
  return static_cast<std::uint64_t>(std::max<std::int64_t>(highest, 0)) / kWordBits + 1;
}

// The number at the beginning of `text` by the rules of sscanf, or `otherwise` when there
// is none that fits 32 bits. A minus sign negates it in two's complement.
std::uint32_t Number(std::string_view text, int base, std::uint32_t otherwise) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  text.remove_prefix(std::min(start, text.size()));
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  if (base == 16 && (text.starts_with("0x") || text.starts_with("0X"))) {
    text.remove_prefix(2);
  }
  std::uint32_t number = 0;
  const auto result =
      std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (result.ec != std::errc()) {
    return otherwise;
  }
  return isNegative ? 0 - number : number;
}

// Reads items and stores their words, over all pieces.
class MaskReader {
 public:
  explicit MaskReader(omi_BlkBitVect& mask) : mask_(mask) {}

  void ReadPiece(std::string_view piece) {
    std::size_t at = piece.find('#');
    while (at < piece.size()) {
      ++at;
      value_ = Number(piece.substr(at), 16, value_);
      at = piece.find_first_of(": ", at);
      if (at < piece.size() && piece[at] == ':') {
        ++at;
        count_ = Number(piece.substr(at), 10, count_);
        at = piece.find(' ', at);
      } else {
        count_ = 1;
      }
      StoreRun();
      at = piece.find('#', at);
    }
  }

 private:
  void StoreRun() {
    const std::uint64_t end = word_ + count_;
    if (value_ != 0 && count_ != 0) {
      if (end > omi_BlkBitVect::kCells) {
        nex_AssertException("word + count <= omi_BlkBitVect::kCells").Throw(kSource);
      }
      for (std::uint64_t word = word_; word < end; ++word) {
        mask_.SetCell(word, value_);
      }
    }
    word_ = end;
  }

  omi_BlkBitVect& mask_;
  std::uint64_t word_ = 0;
  std::uint32_t value_ = 0;
  std::uint32_t count_ = 1;
};

}  // namespace

cow_List<cow_String> utl_BlkBitUtils::GetMaskString(const omi_BlkBitVect& mask) {
  const std::uint64_t words = WordCount(mask);
  cow_List<cow_String> pieces;
  std::string piece = "[";
  int items = 0;
  for (std::uint64_t i = 0; i < words;) {
    if (i > 0) {  // the first word does not count
      if (++items > kMaxFurtherItems) {
        pieces.Append(cow_String(std::string_view(piece)));
        piece.clear();
        items = 0;
      }
      piece += ' ';
    }
    const std::uint32_t word = mask.Cell(i);
    const std::uint64_t end = std::min(mask.RunEnd(i), words);
    AppendItem(piece, word, end - i);
    i = end;
  }
  piece += " ]";
  pieces.Append(cow_String(std::string_view(piece)));
  return pieces;
}

void utl_BlkBitUtils::GetMaskFromString(const cow_List<cow_String>& text,
                                        omi_BlkBitVect& mask) {
  MaskReader reader(mask);
  for (const cow_String& piece : text) {
    reader.ReadPiece(piece);
  }
}
