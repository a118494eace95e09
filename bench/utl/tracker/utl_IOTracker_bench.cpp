// What one reported write costs.

#include "utl/utl_IOTracker.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench_work.h"

namespace {

constexpr std::int64_t kBytes = 65536;
constexpr double kSeconds = 1.0 / 1024;

// Keys as the addresses of streams are.
std::int64_t Key(int file) {
  return 0x7F3A5C000010 + std::int64_t{file} * 560;
}

// The holder of a tracker under this setting of the environment. It is kept to the end of
// the process: its summary is of no use.
utl_IOTracker_Container& MakeHolder(const char* setting) {
  setenv("KES_IO_TRACK", setting, 1);
  return *new utl_IOTracker_Container;
}

// A tracker that knows `files` files, made when it is first used.
class Ours {
 public:
  explicit Ours(int files) : files_(files) {}
  void CWrite(std::int64_t key, std::int64_t bytes, double seconds) {
    if (tracker_ == nullptr) {
      Make();
    }
    tracker_->CWrite(key, bytes, seconds);
  }
  int Count(std::int64_t key) {
    utl_IOTrackerRecord record;
    tracker_->CTotals(key, record);
    return record.writeCount;
  }

 private:
  void Make() {
    tracker_ = MakeHolder("1").Tracker();
    for (int i = 0; i < files_; ++i) {
      tracker_->COpen(Key(i), ("file" + std::to_string(i)).c_str());
    }
  }

  int files_;
  utl_IOTracker* tracker_ = nullptr;
};

// The peer keeps totals alone, without kinds, limits or increments.
struct PeerRecord {
  int count = 0;
  double megabytes = 0;
  double time = 0;
};

class Peer {
 public:
  void CWrite(std::int64_t key, std::int64_t bytes, double seconds) {
    const std::lock_guard<std::mutex> guard(mutex_);
    PeerRecord& record = records_[key];
    ++record.count;
    record.megabytes += static_cast<double>(bytes) / (1024 * 1024);
    record.time += seconds;
  }
  int Count(std::int64_t key) { return records_[key].count; }

 private:
  std::mutex mutex_;
  std::unordered_map<std::int64_t, PeerRecord> records_;
};

// A list that is searched from its start.
class Naive {
 public:
  void CWrite(std::int64_t key, std::int64_t bytes, double seconds) {
    const std::lock_guard<std::mutex> guard(mutex_);
    PeerRecord& record = Found(key);
    ++record.count;
    record.megabytes += static_cast<double>(bytes) / (1024 * 1024);
    record.time += seconds;
  }
  int Count(std::int64_t key) { return Found(key).count; }

 private:
  PeerRecord& Found(std::int64_t key) {
    for (auto& [known, record] : records_) {
      if (known == key) {
        return record;
      }
    }
    return records_.emplace_back(key, PeerRecord()).second;
  }

  std::mutex mutex_;
  std::vector<std::pair<std::int64_t, PeerRecord>> records_;
};

// Every file is written to in turn. What is compared: the count of the second file after
// every file had 10 writes more.
template <class Table>
void AddCoding(const bench::Work& work, const char* coding, int files,
               std::shared_ptr<Table> table) {
  work.Coding(
      coding,
      [table, files, file = 0]() mutable {
        file = file + 1 == files ? 0 : file + 1;
        table->CWrite(Key(file), kBytes, kSeconds);
      },
      [table, files] {
        table->CWrite(Key(1), kBytes, kSeconds);
        const int before = table->Count(Key(1));
        for (int i = 0; i < 10 * files; ++i) {
          table->CWrite(Key(i % files), kBytes, kSeconds);
        }
        return table->Count(Key(1)) - before;
      });
}

void AddOff() {
  const bench::Work work("tracker off");
  work.Coding("ours", [holder = &MakeHolder("0")] {
    const utl_IOTracker_Container* asked = holder;
    benchmark::DoNotOptimize(asked);
    utl_IOTracker* const tracker = asked->Tracker();
    if (tracker != nullptr) {
      tracker->CWrite(3, kBytes, kSeconds);
    }
    return tracker != nullptr;
  });
  work.Coding("limit null test", [none = static_cast<Peer*>(nullptr)] {
    Peer* const* asked = &none;
    benchmark::DoNotOptimize(asked);
    Peer* const peer = *asked;
    if (peer != nullptr) {
      peer->CWrite(3, kBytes, kSeconds);
    }
    return peer != nullptr;
  });
}

void AddOn(int files) {
  const bench::Work work("tracker on " + std::to_string(files) + " files");
  AddCoding(work, "ours", files, std::make_shared<Ours>(files));
  AddCoding(work, "mutex and unordered_map", files, std::make_shared<Peer>());
  if (files < 100) {  // its time grows with the files
    AddCoding(work, "naive", files, std::make_shared<Naive>());
  }
  work.Counted();
}

}  // namespace

void bench::AddWorks() {
  std::filesystem::current_path(Scratch());  // for the outputs
  AddOff();
  for (const int files : {16, 1000, 100000}) {
    AddOn(files);
  }
}
