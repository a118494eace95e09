#include "utl/impl/tracker/utl_IOTrackerTable.h"

#include <limits>

namespace {

constexpr double kBytesPerMegabyte = 1024.0 * 1024.0;
constexpr char kUnknownPath[] = " ";

// A count that has reached its type's limit stays there. Neither number is negative.
template <class Integer>
void Increase(Integer& sum, Integer number) {
  constexpr Integer kMost = std::numeric_limits<Integer>::max();
  sum = number > kMost - sum ? kMost : sum + number;
}

// A number that is negative, or none, counts as 0.
template <class Number>
Number Counted(Number number) {
  return number > 0 ? number : Number{0};
}

double Megabytes(std::int64_t bytes) {
  return static_cast<double>(bytes) / kBytesPerMegabyte;
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

void AddEach(const utl_IOTrackerTable& table,
             utl_IOTrackerRecord utl_IOTrackerTable::Entry::*record,
             utl_IOTrackerSums& sums) {
  for (int i = 0; i < table.Count(); ++i) {
    const utl_IOTrackerRecord& one = table.At(i).*record;
    AddRecord(one.kind == utl_kScratchFile ? sums.scratch : sums.work, one);
  }
  sums.work.kind = utl_kWorkFile;
  sums.scratch.kind = utl_kScratchFile;
}

}  // namespace

void utl_IOTrackerTable::Open(std::int64_t key, std::string_view path, int kind) {
  const auto named = byPath_.try_emplace(std::string(path)).first;
  if (named->second == nullptr) named->second = &Add(named->first.c_str(), kind);
  Entry& entry = *named->second;
  byKey_[key] = &entry;
  if (details_) {
    Increase(entry.totals.opens, 1);
    Increase(entry.increments.opens, 1);
  }
}

void utl_IOTrackerTable::Rename(std::int64_t key, std::string_view path) {
  Entry* const entry = Look(key);
  if (entry == nullptr) return;
  const auto named = byPath_.try_emplace(std::string(path)).first;
  const auto before = byPath_.find(entry->path);
  if (before != byPath_.end() && before->second == entry) before->second = nullptr;
  named->second = entry;
  entry->path = named->first.c_str();
}

void utl_IOTrackerTable::Write(std::int64_t key, std::int64_t bytes, double seconds) {
  Entry& entry = ForOperation(key);
  for (utl_IOTrackerRecord* record : {&entry.totals, &entry.increments}) {
    Increase(record->writeCount, 1);
    record->writeMB += Megabytes(Counted(bytes));
    record->writeTime += Counted(seconds);
    if (details_) Increase(record->bytesWritten, Counted(bytes));
  }
}

void utl_IOTrackerTable::Read(std::int64_t key, std::int64_t bytes, double seconds) {
  Entry& entry = ForOperation(key);
  for (utl_IOTrackerRecord* record : {&entry.totals, &entry.increments}) {
    Increase(record->readCount, 1);
    record->readMB += Megabytes(Counted(bytes));
    record->readTime += Counted(seconds);
    if (details_) Increase(record->bytesRead, Counted(bytes));
  }
}

void utl_IOTrackerTable::Seek(std::int64_t key) {
  Entry* const entry = Look(key);
  if (entry == nullptr || !details_) return;
  Increase(entry->totals.seeks, std::int64_t{1});
  Increase(entry->increments.seeks, std::int64_t{1});
}

void utl_IOTrackerTable::SetKind(std::int64_t key, int kind) {
  if (Entry* const entry = Look(key)) {
    const bool isKnown = kind == utl_kScratchFile || kind == utl_kWorkFile;
    entry->totals.kind = entry->increments.kind = isKnown ? kind : utl_kUnclassifiedFile;
  }
}

const utl_IOTrackerTable::Entry* utl_IOTrackerTable::Find(std::int64_t key) const {
  return Look(key);
}

utl_IOTrackerTable::Entry* utl_IOTrackerTable::Look(std::int64_t key) const {
  const auto found = byKey_.find(key);
  return found == byKey_.end() ? nullptr : found->second;
}

utl_IOTrackerTable::Entry& utl_IOTrackerTable::ForOperation(std::int64_t key) {
  if (Entry* const entry = Look(key)) return *entry;
  Entry& made = Add(kUnknownPath, utl_kUnclassifiedFile);
  byKey_[key] = &made;
  return made;
}

utl_IOTrackerTable::Entry& utl_IOTrackerTable::Add(const char* path, int kind) {
  if (static_cast<std::size_t>(count_) == blocks_.size() * kBlock) {
    blocks_.push_back(std::make_unique<Entry[]>(kBlock));
  }
  Entry& entry = At(count_);
  entry.path = path;
  entry.totals.kind = entry.increments.kind = kind;
  ++count_;
  return entry;
}

void utl_addTotals(const utl_IOTrackerTable& table, utl_IOTrackerSums& sums) {
  AddEach(table, &utl_IOTrackerTable::Entry::totals, sums);
}

void utl_addIncrements(const utl_IOTrackerTable& table, utl_IOTrackerSums& sums) {
  AddEach(table, &utl_IOTrackerTable::Entry::increments, sums);
}
