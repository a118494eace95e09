#include <mutex>

#include "utl/impl/tracker/utl_IOTrackerRecorder.h"

// The operations of the two tables, alike but for the table.

using Guard = std::lock_guard<thr_Mutex>;

void utl_IOTrackerRecorder::COpen(std::int64_t key, const char* path) {
  Open(c_, key, path);
}

void utl_IOTrackerRecorder::CClose(std::int64_t key) {
  const Guard guard(counts_);
  c_.Close(key);
}

void utl_IOTrackerRecorder::CRename(std::int64_t key, const char* path) {
  Rename(c_, key, path);
}

void utl_IOTrackerRecorder::CWrite(std::int64_t key, std::int64_t bytes, double seconds) {
  const Guard guard(counts_);
  c_.Write(key, bytes, seconds);
}

void utl_IOTrackerRecorder::CRead(std::int64_t key, std::int64_t bytes, double seconds) {
  const Guard guard(counts_);
  c_.Read(key, bytes, seconds);
}

void utl_IOTrackerRecorder::CSeek(std::int64_t key, double /*seconds*/) {
  const Guard guard(counts_);
  c_.Seek(key);
}

void utl_IOTrackerRecorder::CSetKind(std::int64_t key, int kind) {
  const Guard guard(counts_);
  c_.SetKind(key, kind);
}

int utl_IOTrackerRecorder::CKind(std::int64_t key) {
  utl_IOTrackerRecord record;
  CTotals(key, record);
  return record.kind;
}

bool utl_IOTrackerRecorder::CTotals(std::int64_t key, utl_IOTrackerRecord& record) {
  return Copy(c_, key, &Table::Entry::totals, record);
}

bool utl_IOTrackerRecorder::CIncrements(std::int64_t key, utl_IOTrackerRecord& record) {
  return Copy(c_, key, &Table::Entry::increments, record);
}

int utl_IOTrackerRecorder::CCount() {
  const Guard guard(counts_);
  return c_.Count();
}

const char* utl_IOTrackerRecorder::CPath(int index) {
  return Path(c_, index);
}

void utl_IOTrackerRecorder::UOpen(std::int64_t key, const char* path) {
  Open(u_, key, path);
}

void utl_IOTrackerRecorder::UClose(std::int64_t key) {
  const Guard guard(counts_);
  u_.Close(key);
}

void utl_IOTrackerRecorder::URename(std::int64_t key, const char* path) {
  Rename(u_, key, path);
}

void utl_IOTrackerRecorder::UWrite(std::int64_t key, std::int64_t bytes, double seconds) {
  const Guard guard(counts_);
  u_.Write(key, bytes, seconds);
}

void utl_IOTrackerRecorder::URead(std::int64_t key, std::int64_t bytes, double seconds) {
  const Guard guard(counts_);
  u_.Read(key, bytes, seconds);
}

void utl_IOTrackerRecorder::USeek(std::int64_t key, double /*seconds*/) {
  const Guard guard(counts_);
  u_.Seek(key);
}

void utl_IOTrackerRecorder::USetKind(std::int64_t key, int kind) {
  const Guard guard(counts_);
  u_.SetKind(key, kind);
}

int utl_IOTrackerRecorder::UKind(std::int64_t key) {
  utl_IOTrackerRecord record;
  UTotals(key, record);
  return record.kind;
}

bool utl_IOTrackerRecorder::UTotals(std::int64_t key, utl_IOTrackerRecord& record) {
  return Copy(u_, key, &Table::Entry::totals, record);
}

bool utl_IOTrackerRecorder::UIncrements(std::int64_t key, utl_IOTrackerRecord& record) {
  return Copy(u_, key, &Table::Entry::increments, record);
}

int utl_IOTrackerRecorder::UCount() {
  const Guard guard(counts_);
  return u_.Count();
}

const char* utl_IOTrackerRecorder::UPath(int index) {
  return Path(u_, index);
}
