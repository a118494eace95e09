#include "utl/utl_TrackedFile.h"

#include "omi/omi_Timer.h"
#include "utl/utl_IOTracker.h"

namespace {

// A running stop watch.
omi_Timer Started() {
  omi_Timer timer;
  timer.Start();
  return timer;
}

}  // namespace

utl_TrackedFile::utl_TrackedFile(const cow_String& path, utl_FileAccess access,
                                 utl_FileSharing sharing)
    : path_(path), file_(path, access, sharing) {}

utl_TrackedFile::~utl_TrackedFile() noexcept(false) {
  utl_IOTracker* const tracker = Tracker();
  if (isReported_ && tracker != nullptr) {
    tracker->CClose(Key());
  }
}

// Null when there is none.
utl_IOTracker* utl_TrackedFile::Tracker() const {
  const auto* holder = thr_GlobalSingleton<utl_IOTracker_Container>::Look();
  return holder != nullptr ? holder->Tracker() : nullptr;
}

// The same after an operation that has succeeded, and so has opened the file.
utl_IOTracker* utl_TrackedFile::TrackerOfOpenFile() const {
  if (!isReported_) {
    thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
  }
  utl_IOTracker* const tracker = Tracker();
  if (!isReported_ && tracker != nullptr) {
    tracker->COpen(Key(), path_.c_str());
  }
  isReported_ = true;
  return tracker;
}

void utl_TrackedFile::Open(const cow_String& path, utl_FileAccess access,
                           utl_FileSharing sharing) {
  file_.Open(path, access, sharing);
  if (!isReported_) {
    path_ = path;
  }
  TrackerOfOpenFile();
}

void utl_TrackedFile::Init() {
  file_.Init();
  TrackerOfOpenFile();
}

void utl_TrackedFile::Seek(const utl_FileOffset& offset) {
  const omi_Timer timer = Started();
  file_.Seek(offset);
  const double seconds = timer.Elapsed();
  if (utl_IOTracker* const tracker = TrackerOfOpenFile()) {
    tracker->CSeek(Key(), seconds);
  }
}

utl_FileOffset utl_TrackedFile::Location() const {
  const utl_FileOffset location = file_.Location();
  TrackerOfOpenFile();
  return location;
}

void utl_TrackedFile::Flush() {
  file_.Flush();
  TrackerOfOpenFile();
}

int utl_TrackedFile::Read(char* buffer, int count) {
  const omi_Timer timer = Started();
  const int done = file_.Read(buffer, count);
  const double seconds = timer.Elapsed();
  if (utl_IOTracker* const tracker = TrackerOfOpenFile()) {
    tracker->CRead(Key(), done, seconds);
  }
  return done;
}

int utl_TrackedFile::Write(const char* buffer, int count) {
  const omi_Timer timer = Started();
  const int done = file_.Write(buffer, count);
  ReportWrite(done, timer.Elapsed());
  return done;
}

int utl_TrackedFile::WriteShortAllowed(const char* buffer, int count) {
  const omi_Timer timer = Started();
  const int done = file_.WriteShortAllowed(buffer, count);
  ReportWrite(done, timer.Elapsed());
  return done;
}

void utl_TrackedFile::ReportWrite(int bytes, double seconds) {
  if (utl_IOTracker* const tracker = TrackerOfOpenFile()) {
    tracker->CWrite(Key(), bytes, seconds);
  }
}

utl_FileOffset utl_TrackedFile::FileSize() const {
  const utl_FileOffset size = file_.FileSize();
  TrackerOfOpenFile();
  return size;
}

void utl_TrackedFile::Extend(const utl_FileOffset& size) {
  file_.Extend(size);
  TrackerOfOpenFile();
}
