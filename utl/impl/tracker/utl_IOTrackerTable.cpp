#include "utl/impl/tracker/utl_IOTrackerTable.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "utl/impl/tracker/utl_IOTrackerSettings.h"

namespace {

using Entry = utl_IOTrackerEntry;
using Hold = utl_IOTrackerMutex::Hold;

constexpr double kBytesPerMegabyte = 1024.0 * 1024.0;
constexpr char kUnknownPath[] = " ";
constexpr std::size_t kMostOfPath = 1023;

// A count that has reached its type's limit stays there. Neither number is negative.
template <class Integer>
void Increase(Integer& sum, Integer number) {
  constexpr Integer kMost = std::numeric_limits<Integer>::max();
  sum = number > kMost - sum ? kMost : sum + number;
}

void CountOperation(Entry::Amount (&amounts)[2], std::int64_t bytes, double seconds,
                    bool details) {
  const std::int64_t countedBytes = std::max<std::int64_t>(bytes, 0);
  const double countedSeconds = seconds > 0 && std::isfinite(seconds) ? seconds : 0;
  for (Entry::Amount& amount : amounts) {
    Increase(amount.count, 1);
    amount.megabytes += static_cast<double>(countedBytes) / kBytesPerMegabyte;
    amount.seconds += countedSeconds;
  }
  if (details) {
    for (Entry::Amount& amount : amounts) {
      Increase(amount.bytes, countedBytes);
    }
  }
}

void AddRecord(utl_IOTrackerRecord& sum, const utl_IOTrackerRecord& record) {
  Increase(sum.writeCount, record.writeCount);
  sum.writeMB += record.writeMB;
  sum.writeTime += record.writeTime;
  Increase(sum.readCount, record.readCount);
  sum.readMB += record.readMB;
  sum.readTime += record.readTime;
  Increase(sum.bytesWritten, record.bytesWritten);
  Increase(sum.bytesRead, record.bytesRead);
  Increase(sum.opens, record.opens);
  Increase(sum.seeks, record.seeks);
}

std::string CutPath(const char* path) {
  return std::string(utl_cutText(path, kMostOfPath));
}

}  // namespace

utl_IOTrackerRecord Entry::Record(utl_IOTrackerSpan span) const {
  utl_IOTrackerRecord record;
  record.writeCount = written[span].count;
  record.writeMB = written[span].megabytes;
  record.writeTime = written[span].seconds;
  record.readCount = read[span].count;
  record.readMB = read[span].megabytes;
  record.readTime = read[span].seconds;
  record.bytesWritten = written[span].bytes;
  record.bytesRead = read[span].bytes;
  record.opens = further[span].opens;
  record.kind = kind;
  record.seeks = further[span].seeks;
  return record;
}

void utl_IOTrackerTable::Open(std::int64_t key, const char* path) {
  const int kind = scratch_.Holds(path == nullptr ? "" : path) ? kScratchFile : kWorkFile;
  std::string name = CutPath(path);
  const Hold hold(mutex_);
  if (!hold) {
    return;
  }
  const auto named = byPath_.try_emplace(std::move(name)).first;
  if (named->second == nullptr) {
    named->second = &Add(named->first.c_str(), kind);
  }
  byKey_[key] = named->second;
  if (details_) {
    for (Entry::Further& further : named->second->further) {
      Increase(further.opens, 1);
    }
  }
}

void utl_IOTrackerTable::Close(std::int64_t key) {
  if (const Hold hold{mutex_}) {
    byKey_.erase(key);
  }
}

// An entry that had the new path loses it: its file was replaced.
void utl_IOTrackerTable::Rename(std::int64_t key, const char* path) {
  std::string name = CutPath(path);
  const Hold hold(mutex_);
  Entry* const entry = hold ? Find(key) : nullptr;
  if (entry == nullptr) {
    return;
  }
  const auto named = byPath_.try_emplace(std::move(name)).first;
  const auto before = byPath_.find(entry->path);
  if (before != byPath_.end() && before->second == entry) {
    before->second = nullptr;
  }
  named->second = entry;
  entry->path = named->first.c_str();
}

void utl_IOTrackerTable::Write(std::int64_t key, std::int64_t bytes, double seconds) {
  if (const Hold hold{mutex_}) {
    CountOperation(ForOperation(key).written, bytes, seconds, details_);
  }
}

void utl_IOTrackerTable::Read(std::int64_t key, std::int64_t bytes, double seconds) {
  if (const Hold hold{mutex_}) {
    CountOperation(ForOperation(key).read, bytes, seconds, details_);
  }
}

void utl_IOTrackerTable::Seek(std::int64_t key) {
  const Hold hold(mutex_);
  Entry* const entry = hold && details_ ? Find(key) : nullptr;
  if (entry == nullptr) {
    return;
  }
  for (Entry::Further& further : entry->further) {
    Increase(further.seeks, std::int64_t{1});
  }
}

void utl_IOTrackerTable::SetKind(std::int64_t key, int kind) {
  const Hold hold(mutex_);
  if (Entry* const entry = hold ? Find(key) : nullptr) {
    const bool isKnown = kind == kScratchFile || kind == kWorkFile;
    entry->kind = isKnown ? kind : kUnclassifiedFile;
  }
}

int utl_IOTrackerTable::Kind(std::int64_t key) {
  const Hold hold(mutex_);
  const Entry* const entry = hold ? Find(key) : nullptr;
  return entry == nullptr ? kUnclassifiedFile : entry->kind;
}

bool utl_IOTrackerTable::Copy(std::int64_t key, utl_IOTrackerSpan span,
                              utl_IOTrackerRecord& record) {
  const Hold hold(mutex_);
  const Entry* const entry = hold ? Find(key) : nullptr;
  record = entry == nullptr ? utl_IOTrackerRecord() : entry->Record(span);
  return entry != nullptr;
}

int utl_IOTrackerTable::Count() {
  const Hold hold(mutex_);
  return hold ? static_cast<int>(count_) : 0;
}

const char* utl_IOTrackerTable::Path(int index) {
  const Hold hold(mutex_);
  const auto place = static_cast<std::size_t>(index);  // a negative one becomes too large
  return hold && place < count_ ? At(place).path : "";
}

void utl_IOTrackerTable::AddTo(utl_IOTrackerSums& sums, utl_IOTrackerSpan span) const {
  ForEach([&](const Entry& entry) {
    AddRecord(entry.kind == kScratchFile ? sums.scratch : sums.work, entry.Record(span));
  });
  sums.work.kind = kWorkFile;
  sums.scratch.kind = kScratchFile;
}

void utl_IOTrackerTable::ClearIncrements() {
  ForEach([](Entry& entry) {
    entry.written[kIncrements] = entry.read[kIncrements] = {};
    entry.further[kIncrements] = {};
  });
}

Entry* utl_IOTrackerTable::Find(std::int64_t key) const {
  const auto found = byKey_.find(key);
  return found == byKey_.end() ? nullptr : found->second;
}

// An unknown key makes an entry.
Entry& utl_IOTrackerTable::ForOperation(std::int64_t key) {
  if (Entry* const entry = Find(key)) {
    return *entry;
  }
  Entry& made = Add(kUnknownPath, kUnclassifiedFile);
  byKey_[key] = &made;
  return made;
}

Entry& utl_IOTrackerTable::Add(const char* path, int kind) {
  if (count_ == blocks_.size() * kBlock) {
    blocks_.push_back(std::make_unique<Entry[]>(kBlock));
  }
  Entry& entry = At(count_);
  entry.path = path;
  entry.kind = kind;
  ++count_;
  return entry;
}
