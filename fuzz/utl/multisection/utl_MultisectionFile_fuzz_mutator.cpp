// For the fuzzer alone: changes the sections of a file and puts count, lengths and
// checksums right, which bytes that are changed at random never are. One time in four
// bytes are changed all the same.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

#include "utl/multisection/MultisectionImage.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size,
                                        std::size_t maxSize);

namespace {

void Mutate(std::string& text) {
  constexpr std::size_t kMore = 8;
  const std::size_t size = text.size();
  text.resize(size + kMore);
  text.resize(
      LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(text.data()), size, text.size()));
}

void Mutate(Image& sections, std::minstd_rand& random) {
  if (sections.empty() || random() % 8 == 0) {
    sections.push_back({"set", "data"});
    return;
  }
  const std::size_t place = random() % sections.size();
  ImageSection& section = sections[place];
  switch (random() % 5) {
    case 0:
      sections.erase(sections.begin() + static_cast<std::ptrdiff_t>(place));
      break;
    case 1:
      sections.push_back(ImageSection(section));
      break;
    case 2:
      std::swap(section, sections.front());
      break;
    case 3:
      Mutate(section.name);
      break;
    default:
      Mutate(section.data);
  }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  std::minstd_rand random(seed);
  if (random() % 4 != 0) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Image sections = ParseImage(bytes).value_or(Image{});
    Mutate(sections, random);
    const std::string mutated = BuildImage(sections);
    if (mutated.size() <= maxSize) {
      std::copy(mutated.begin(), mutated.end(), data);
      return mutated.size();
    }
  }
  return LLVMFuzzerMutate(data, size, maxSize);
}
