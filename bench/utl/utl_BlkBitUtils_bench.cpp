// Masks of 100,000 bits to text and back: random bits, and runs; and one far bit.

#include "utl/utl_BlkBitUtils.h"

#include <cstdint>
#include <cstdio>
#include <string>

#include "bench_work.h"

namespace {

omi_BlkBitVect Mask(bool runs) {
  omi_BlkBitVect mask;
  std::uint32_t value = 1;
  for (std::uint64_t cell = 0; cell < 3125; ++cell) {
    value = runs && cell % 25 != 0 ? value : value * 1664525 + 1013904223;
    mask.SetCell(cell, value);
  }
  return mask;
}

omi_BlkBitVect FarBit() {
  omi_BlkBitVect mask;
  mask.Set(0x3FFFFFF);
  return mask;
}

std::string Joined(const cow_List<cow_String>& text) {
  std::string joined;
  for (const cow_String& piece : text) {
    joined += piece;
  }
  return joined;
}

// A cell at a time, the runs counted by comparing.
std::string NaiveText(const omi_BlkBitVect& mask) {
  const auto cells = static_cast<std::uint64_t>(omi_BlkBitVectTrav(mask).Last()) / 32 + 1;
  std::string text = "[";
  for (std::uint64_t cell = 0; cell < cells;) {
    std::uint64_t end = cell + 1;
    while (end < cells && mask.Cell(end) == mask.Cell(cell)) {
      ++end;
    }
    char word[40];
    const unsigned bits = mask.Cell(cell);
    if (end - cell > 1) {
      std::snprintf(word, sizeof word, "#%x:%u ", bits,
                    static_cast<unsigned>(end - cell));
    } else {
      std::snprintf(word, sizeof word, "#%x ", bits);
    }
    text += word;
    cell = end;
  }
  return text + "]";
}

omi_BlkBitVect FromText(const cow_List<cow_String>& text) {
  omi_BlkBitVect mask;
  utl_BlkBitUtils::GetMaskFromString(text, mask);
  return mask;
}

// All pieces in one text, read word by word.
omi_BlkBitVect NaiveFromText(const std::string& text) {
  omi_BlkBitVect mask;
  std::uint64_t cell = 0;
  for (std::size_t at = 0; (at = text.find('#', at)) != text.npos;) {
    unsigned bits = 0;
    unsigned count = 1;
    std::sscanf(text.c_str() + ++at, "%x:%u", &bits, &count);
    for (; count > 0; --count) {
      mask.SetCell(cell++, bits);
    }
  }
  return mask;
}

void AddMask(const std::string& kind, const omi_BlkBitVect& mask) {
  const cow_List<cow_String> text = utl_BlkBitUtils::GetMaskString(mask);
  bench::Work("mask to text " + kind)
      .Coding(
          "ours", [mask] { return utl_BlkBitUtils::GetMaskString(mask); },
          [text] { return Joined(text); })
      .Coding("naive", [mask] { return NaiveText(mask); })
      .Counted();
  bench::Work("mask from text " + kind)
      .Coding(
          "ours", [text] { return FromText(text); },
          [text] { return NaiveText(FromText(text)); })
      .Coding(
          "naive", [joined = Joined(text)] { return NaiveFromText(joined); },
          [text] { return NaiveText(NaiveFromText(Joined(text))); })
      .Counted();
}

}  // namespace

void bench::AddWorks() {
  AddMask("random bits", Mask(false));
  AddMask("runs", Mask(true));
  AddMask("one far bit", FarBit());
}
