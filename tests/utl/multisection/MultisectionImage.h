#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A second reader and writer of the multisection format, made from
/// docs/multisection-file.md alone: it shares no code with the library, so that the two
/// check each other.

struct ImageSection {
  std::string name;
  std::string data;
  bool operator==(const ImageSection&) const = default;
};

using Image = std::vector<ImageSection>;

/// The bytes of a file with these sections.
std::string BuildImage(const Image& sections);

/// The sections of a complete file; nothing when a byte is missing, left over or damaged.
std::optional<Image> ParseImage(const std::string& bytes);

/// Whether the directory and as many bytes as it promises are there, right or wrong.
bool IsWholeImage(const std::string& bytes);

/// The parts BuildImage is made of, for files that are wrong in one place.
std::string ImageInt(std::int64_t value);
std::string ImageHeader(std::int64_t count);
std::string ImageEntry(const ImageSection& section);
std::uint32_t ImageChecksum(const std::string& data);
