#include "rgx/rgx_ReIterator.h"

#include <span>
#include <utility>

#include "rgx/impl/rgx_search.h"

rgx_ReIterator::rgx_ReIterator(cow_String subject, const std::size_t* offsets,
                               int groupCount)
    : subject_(std::move(subject)), groupCount_(groupCount), matched_(true) {
  const int count = 2 * groupCount;
  offsets_.Reserve(count);
  for (const std::size_t offset : std::span(offsets, static_cast<std::size_t>(count))) {
    // The largest std::size_t, for a group that did not take part, becomes -1.
    offsets_.Append(static_cast<int>(static_cast<std::ptrdiff_t>(offset)));
  }
}

void rgx_ReIterator::SetCurrentGroup(int n) noexcept {
  current_ = n;
}

cow_String rgx_ReIterator::String() const {
  return current_ < 0 ? cow_String() : NthString(current_);
}

int rgx_ReIterator::StringAsGroupNum() const {
  return rgx_referenceNumber(String());
}

cow_String rgx_ReIterator::NthString(int n) const {
  if (!matched_ || n < -2 || n >= groupCount_) {
    return {};
  }
  if (n == -2) {
    return Between(0, offsets_[0]);
  }
  if (n == -1) {
    return Between(offsets_[1], subject_.Length());
  }
  return Between(offsets_[2 * n], offsets_[2 * n + 1]);
}

// A group that did not take part begins and ends at -1, and has no length.
cow_String rgx_ReIterator::Between(int start, int end) const {
  return subject_.Substr(start, end - start);
}
