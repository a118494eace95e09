#include "rgx/rgx_ReIterator.h"

#include <utility>

#include "rgx/impl/rgx_search.h"

rgx_ReIterator::rgx_ReIterator(cow_String subject, const std::size_t* offsets,
                               int groupCount)
    : subject_(std::move(subject)), groupCount_(groupCount), matched_(true) {
  offsets_.Reserve(2 * groupCount);
  for (int i = 0; i < 2 * groupCount; ++i) {
    // The largest std::size_t, for a group that did not take part, becomes -1.
    offsets_.Append(static_cast<int>(static_cast<std::ptrdiff_t>(offsets[i])));
  }
}

void rgx_ReIterator::SetCurrentGroup(int n) noexcept {
  position_ = 0 <= n && n < groupCount_ ? 2 * n : -1;
}

cow_String rgx_ReIterator::String() const {
  return Group(position_);
}

int rgx_ReIterator::StringAsGroupNum() const {
  return rgx_referenceNumber(String());
}

cow_String rgx_ReIterator::NthString(int n) const {
  if (!matched_) {
    return {};
  }
  if (n == -2) {
    return Between(0, offsets_[0]);
  }
  if (n == -1) {
    return Between(offsets_[1], subject_.Length());
  }
  return 0 <= n && n < groupCount_ ? Group(2 * n) : cow_String();
}

cow_String rgx_ReIterator::Group(int position) const {
  if (!matched_ || position < 0) {
    return {};
  }
  return Between(offsets_[position], offsets_[position + 1]);
}

cow_String rgx_ReIterator::Between(int start, int end) const {
  return start >= 0 && end > start ? subject_.Substr(start, end - start) : cow_String();
}
