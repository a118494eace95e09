#include "utl/multisection/MultisectionImage.h"

#include <algorithm>
#include <array>

namespace {

const std::string kTag = "\x28\xC1\x1D\xAF";

std::array<std::uint32_t, 256> ChecksumTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    table[i] = i << 24;
    for (int bit = 0; bit < 8; ++bit) {
      table[i] = (table[i] << 1) ^ ((table[i] & 0x80000000u) != 0 ? 0x04C11DB7u : 0u);
    }
  }
  return table;
}

/// Cuts pieces off the front of a text; once one was too short, or not what was expected,
/// all fail.
class Cutter {
 public:
  explicit Cutter(const std::string& bytes) : bytes_(bytes) {}

  std::string Bytes(std::int64_t count) {
    const auto left = static_cast<std::int64_t>(bytes_.size() - at_);
    ok_ = ok_ && count >= 0 && count <= left;
    if (!ok_) {
      return {};
    }
    std::string piece = bytes_.substr(at_, static_cast<std::size_t>(count));
    at_ += piece.size();
    return piece;
  }

  std::int64_t Int() {
    std::uint32_t value = 0;
    int shift = 0;
    for (const char byte : Bytes(4)) {
      value |= static_cast<std::uint32_t>(static_cast<unsigned char>(byte)) << shift;
      shift += 8;
    }
    return static_cast<std::int32_t>(value);
  }

  void Expect(bool condition) { ok_ = ok_ && condition; }
  bool Ok() const { return ok_; }
  bool AtEnd() const { return ok_ && at_ == bytes_.size(); }

 private:
  const std::string& bytes_;
  std::size_t at_ = 0;
  bool ok_ = true;
};

struct Entry {
  std::string name;
  std::int64_t length;
  std::uint32_t checksum;
};

// The entries as far as they are there; `cutter` tells whether all are.
std::vector<Entry> CutDirectory(Cutter& cutter) {
  std::vector<Entry> entries;
  cutter.Expect(cutter.Bytes(4) == kTag && cutter.Int() == 1);
  const std::int64_t count = cutter.Int();
  for (std::int64_t i = 0; i < count && cutter.Ok(); ++i) {
    Entry& entry = entries.emplace_back();
    entry.name = cutter.Bytes(cutter.Int());
    entry.length = cutter.Int();
    entry.checksum = static_cast<std::uint32_t>(cutter.Int());
  }
  return entries;
}

}  // namespace

std::uint32_t ImageChecksum(const std::string& data) {
  static const std::array<std::uint32_t, 256> table = ChecksumTable();
  std::uint32_t reg = 0xFFFFFFFFu;
  for (const char byte : data) {
    reg = (reg << 8) ^ table[(reg >> 24) ^ static_cast<unsigned char>(byte)];
  }
  return reg;
}

std::string ImageInt(std::int64_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(value >> shift & 0xFF);
  }
  return bytes;
}

std::string ImageHeader(std::int64_t count) {
  return kTag + ImageInt(1) + ImageInt(count);
}

std::string ImageEntry(const ImageSection& section) {
  return ImageInt(static_cast<std::int64_t>(section.name.size())) + section.name +
         ImageInt(static_cast<std::int64_t>(section.data.size())) +
         ImageInt(ImageChecksum(section.data));
}

std::string BuildImage(const Image& sections) {
  std::string bytes = ImageHeader(static_cast<std::int64_t>(sections.size()));
  for (const ImageSection& section : sections) {
    bytes += ImageEntry(section);
  }
  for (const ImageSection& section : sections) {
    bytes += section.data;
  }
  return bytes;
}

std::optional<Image> ParseImage(const std::string& bytes) {
  Cutter cutter(bytes);
  Image sections;
  for (const Entry& entry : CutDirectory(cutter)) {
    sections.push_back({entry.name, cutter.Bytes(entry.length)});
    if (!cutter.Ok() || ImageChecksum(sections.back().data) != entry.checksum) {
      return std::nullopt;
    }
  }
  return cutter.AtEnd() ? std::optional(sections) : std::nullopt;
}

bool IsWholeImage(const std::string& bytes) {
  Cutter cutter(bytes);
  for (const Entry& entry : CutDirectory(cutter)) {
    cutter.Bytes(std::max<std::int64_t>(entry.length, 0));
  }
  return cutter.AtEnd();
}
