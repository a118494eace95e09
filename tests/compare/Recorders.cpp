// The resource monitor and the I/O tracker in mark mode. Their files are among those that
// a sequence leaves; what the clock and the machine put into them is not compared.

#include <cstdint>
#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_ResourceMonitor.h"

namespace {

utl_ResourceMonitor& TheMonitor() {
  return omi_Singleton<utl_ResourceMonitor>::Instance();
}

class Monitor final : public Subject {
 public:
  explicit Monitor(Random& random) {
    constexpr const char* kModes[] = {"ON",         "FULL",     "METHOD",
                                      "FULLMETHOD", "MALLINFO", "full"};
    const char* const mode = random.Pick(kModes);
    SetEnvironment("KES_RESOURCE_MONITOR", random.OneIn(8) ? nullptr : mode);
    SetEnvironment("KESTRA_SEQ", random.OneIn(2) ? "snap nightly" : nullptr);
    SetEnvironment("KESTRA_VERSION", random.OneIn(2) ? "6.6-7" : nullptr);
    SetEnvironment("COMPUTERNAME", "node");
    SetEnvironment("PROCESSOR_IDENTIFIER", "a processor");
  }
  ~Monitor() override { Close(); }

  void Run(Random& random, Log& log) override {
    constexpr const char* kJobs[] = {"job", "job", "sub/job", "no/job", "two words", ""};
    const int what = random.Below(8);
    const std::string text = random.OneIn(8) ? random.Pick(kJobs) : SomeLabel(random);
    const std::string job = random.Pick(kJobs);
    const int id = random.Between(-1, 21);
    log.Call("utl_ResourceMonitor", what, job, text, id).Result([&] {
      Act(what, job, text, id);
      return Verbatim{ShownAll(TheMonitor().IsEnabled(), TheMonitor().IsMallinfo())};
    });
  }

  void Close() override { omi_SingletonBase<utl_ResourceMonitor>::Finalize(); }

 private:
  // No digits: those of a log are masked.
  static std::string SomeLabel(Random& random) {
    return SomeOf(random, "abc ,.-", 0, random.OneIn(4) ? 90 : 45);
  }

  static void Act(int what, const std::string& job, const std::string& text, int id) {
    utl_ResourceMonitor& monitor = TheMonitor();
    switch (what) {
      case 0:
        return monitor.Initialize(job.c_str());
      case 1:
        return monitor.Mark(cow_String(std::string_view(text)));
      case 2:
        return monitor.MarkMethod(text.c_str());
      case 3:
      case 4:
        return monitor.StartTimer(id, text.c_str());
      case 5:
      case 6:
        return monitor.StopTimer(id);
      default:
        return monitor.Mark(text.c_str());
    }
  }
};

class Tracker final : public Subject {
 public:
  Tracker(World& world, Random& random) : world_(world) {
    constexpr const char* kLevels[] = {"1", "2", "3", "4", "2x", "0", "-1", " 3"};
    SetEnvironment("KES_IO_TRACK", random.Pick(kLevels));
    SetEnvironment("KES_IO_INDIVIDUAL", random.OneIn(2) ? "1" : nullptr);
    cow_1DArrayList<cow_String> arguments;
    for (const char* option : {"-job", "-outdir", "-tmpdir"}) {
      if (random.OneIn(2)) {
        const std::string value =
            option == std::string("-job")
                ? "beam"
                : world.shown + (random.OneIn(3) ? "/" : "\\") + "sub";
        arguments.Append(option);
        arguments.Append(cow_String(std::string_view(value)));
      }
    }
    utl_CommandLineLoader::SetArgsList(arguments);
  }
  ~Tracker() override { Close(); }

  // The next operation makes another tracker.
  void Close() override { thr_GlobalSingleton<utl_IOTracker_Container>::Destroy(); }

  void Run(Random& random, Log& log) override {
    constexpr void (Tracker::*kOperations[])(Random&, Log&) = {
        &Tracker::Open,  &Tracker::Open,  &Tracker::Count,  &Tracker::Count,
        &Tracker::Count, &Tracker::Other, &Tracker::Record, &Tracker::Sums,
        &Tracker::Mark,  &Tracker::Mark};
    const auto operation = random.Pick(kOperations);
    tracker_ = thr_GlobalSingleton<utl_IOTracker_Container>::Instance().Tracker();
    if (tracker_ == nullptr) {
      log.Call("utl_IOTracker_Container.Tracker").Result([] { return false; });
    } else {
      (this->*operation)(random, log);
    }
  }

 private:
  static std::int64_t Key(Random& random) {
    return random.OneIn(10) ? static_cast<std::int64_t>(random.Next()) : random.Below(4);
  }
  static std::string ShownRecord(const utl_IOTrackerRecord& record) {
    return ShownAll(record.writeCount, record.writeMB, record.writeTime, record.readCount,
                    record.readMB, record.readTime, record.bytesWritten, record.bytesRead,
                    record.opens, record.kind, record.seeks);
  }

  void Open(Random& random, Log& log) {
    const std::int64_t key = Key(random);
    const bool units = random.OneIn(2);
    const bool rename = random.OneIn(4);
    const std::string path =
        random.OneIn(4) ? SomeText(random) : SomePath(world_, random);
    log.Call("utl_IOTracker.Open", units, rename, key, path).Result([&] {
      if (units) {
        rename ? tracker_->URename(key, path.c_str())
               : tracker_->UOpen(key, path.c_str());
      } else {
        rename ? tracker_->CRename(key, path.c_str())
               : tracker_->COpen(key, path.c_str());
      }
    });
  }
  void Count(Random& random, Log& log) {
    constexpr std::int64_t kBytes[] = {0,         1, 512, 1048576, -1, 0x7FFFFFFFFFFFFFFF,
                                       5000000000};
    const std::int64_t key = Key(random);
    const bool units = random.OneIn(2);
    const bool read = random.OneIn(2);
    const std::int64_t bytes = random.Pick(kBytes);
    const double seconds = random.OneIn(4) ? SomeDouble(random) : random.Below(16) / 4.0;
    log.Call("utl_IOTracker.Count", units, read, key, bytes, seconds).Result([&] {
      if (units) {
        read ? tracker_->URead(key, bytes, seconds)
             : tracker_->UWrite(key, bytes, seconds);
      } else {
        read ? tracker_->CRead(key, bytes, seconds)
             : tracker_->CWrite(key, bytes, seconds);
      }
    });
  }
  void Other(Random& random, Log& log) {
    const std::int64_t key = Key(random);
    const int what = random.Below(3);
    const int kind = random.Between(-1, 3);
    log.Call("utl_IOTracker, others", key, what, kind).Result([&] {
      switch (what) {
        case 0:
          tracker_->CSeek(key, 1);
          return tracker_->USeek(key, 1);
        case 1:
          tracker_->CSetKind(key, kind);
          return tracker_->USetKind(key, kind);
        default:
          return kind > 1 ? tracker_->CClose(key) : tracker_->UClose(key);
      }
    });
  }
  void Record(Random& random, Log& log) {
    const std::int64_t key = Key(random);
    const int index = random.Between(-1, 6);
    log.Call("utl_IOTracker.Totals", key, index).Result([&] {
      utl_IOTrackerRecord records[4];
      const bool known[] = {
          tracker_->CTotals(key, records[0]), tracker_->CIncrements(key, records[1]),
          tracker_->UTotals(key, records[2]), tracker_->UIncrements(key, records[3])};
      std::string text;
      for (int i = 0; i < 4; ++i) {
        text += Shown(known[i]) + ": " + ShownRecord(records[i]) + "; ";
      }
      return Verbatim{text + ShownAll(tracker_->CKind(key), tracker_->UKind(key),
                                      tracker_->CCount(), tracker_->UCount(),
                                      tracker_->CPath(index), tracker_->UPath(index),
                                      tracker_->Level(), tracker_->Now() >= 0)};
    });
  }
  void Sums(Random& random, Log& log) {
    const int kind = random.Between(-1, 3);
    log.Call("utl_IOTracker.SumTotals", kind).Result([&] {
      utl_IOTrackerRecord totals;
      utl_IOTrackerRecord increments;
      tracker_->SumTotals(kind, totals);
      tracker_->SumIncrements(kind, increments);
      return Verbatim{ShownRecord(totals) + "; " + ShownRecord(increments)};
    });
  }
  void Mark(Random& random, Log& log) {
    const int what = random.Below(8);
    const std::string label = random.OneIn(4) ? SomeText(random) : "a, mark";
    const std::string suffix = SomeOf(random, "ab.", 0, 3);
    log.Call("utl_IOTracker.Mark", what, label, suffix).Result([&] {
      switch (what) {
        case 0:
          return tracker_->TimePoint();
        case 1:
          return tracker_->WriteIncrements(label.c_str());
        case 2:
          return tracker_->WriteIncrements(nullptr);
        case 3:
          return tracker_->SetSuffix(suffix.c_str());
        case 4:
          return tracker_->FlushOutputs();
        case 5:
          return tracker_->Mark(nullptr);
        default:
          return utl_IOTracker_Mark(label.c_str());
      }
    });
  }

  World& world_;
  utl_IOTracker* tracker_ = nullptr;
};

}  // namespace

std::unique_ptr<Subject> MakeMonitor(World&, Random& random) {
  return std::make_unique<Monitor>(random);
}
std::unique_ptr<Subject> MakeTracker(World& world, Random& random) {
  return std::make_unique<Tracker>(world, random);
}
