// Finding names whatever their letter case.
//
// The names of large directories are remembered as hashes: if a name's hash is not among
// them, the name is not there in any spelling. The system's notices (inotify) keep them
// up to date with what any process adds and removes. It sends them before the call that
// made the change returns, so no completed change is missed; times of change say less,
// since their clock stands still for milliseconds.
//
// Directories of file systems that other machines may change without a notice are not
// remembered, but read for every name that does not exist as written. The file systems
// known to be safe are listed below.

#include "platform/posix/state/posix_spelling.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <pthread.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_set>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_letters.h"

namespace posix {
namespace {

// A directory of fewer entries is read about as quickly as it is looked up.
constexpr size_t kFewNames = 256;
// The most names that are remembered: some 40 MB.
constexpr size_t kMostNames = 1'000'000;
constexpr size_t kMostDirectories = 16;

constexpr unsigned kZfsMagic = 0x2FC12FC1;
constexpr unsigned kLocalFileSystems[] = {
    EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC,       BTRFS_SUPER_MAGIC, F2FS_SUPER_MAGIC,
    kZfsMagic,        OVERLAYFS_SUPER_MAGIC, TMPFS_MAGIC,       RAMFS_MAGIC};

constexpr unsigned kAdded = IN_CREATE | IN_MOVED_TO;
constexpr unsigned kRemoved = IN_DELETE | IN_MOVED_FROM;
constexpr unsigned kIsNoMore = IN_DELETE_SELF | IN_IGNORED;

using Stream = std::unique_ptr<DIR, int (*)(DIR*)>;

size_t HashOf(std::string_view name) {
  return std::hash<std::string>()(Folded(name));
}

bool IsLocal(int fd) {
  struct statfs system;
  return fstatfs(fd, &system) == 0 &&
         std::count(std::begin(kLocalFileSystems), std::end(kLocalFileSystems),
                    static_cast<unsigned>(system.f_type)) != 0;
}

struct Listing {
  dev_t device = 0;
  ino_t inode = 0;
  std::unordered_multiset<size_t> names;  // their hashes
  unsigned long long lastUse = 0;
};

constexpr int kNone = -1;

class Listings {
 public:
  /// False only when the directory holds no name of this hash.
  bool MayHold(const std::string& directory, size_t hash);
  /// Reads the directory and keeps its names, if that can be done.
  void Remember(const std::string& directory);

 private:
  bool IsNotified();
  void ForgetAll();
  void Watch(const Stream& stream);
  void TakeNotices();
  void Take(const inotify_event& notice);
  void Forget(int watch);
  void MakeRoom();
  size_t NameCount() const;

  static bool MindForks();

  std::mutex mutex_;
  int notices_ = kNone;
  std::map<int, Listing> listings_;  // by the number of the watch
  int beingRead_ = kNone;
  unsigned long long uses_ = 0;
};

// Never destroyed: names are looked up until the very end.
Listings& TheListings() {
  static Listings& listings = *new Listings;
  return listings;
}

bool Listings::MayHold(const std::string& directory, size_t hash) {
  const std::lock_guard guard(mutex_);
  struct stat status;
  if (listings_.empty() || stat(directory.c_str(), &status) != 0) {
    return true;
  }
  TakeNotices();
  for (auto& [watch, listing] : listings_) {
    if (listing.inode == status.st_ino && listing.device == status.st_dev) {
      listing.lastUse = ++uses_;
      return listing.names.contains(hash);
    }
  }
  return true;
}

void Listings::Remember(const std::string& directory) {
  static const bool areForksMinded = MindForks();
  const std::lock_guard guard(mutex_);
  const Stream stream(opendir(directory.c_str()), closedir);
  if (!areForksMinded || !stream || !IsLocal(dirfd(stream.get()))) {
    return;
  }
  TakeNotices();
  if (notices_ == kNone) {
    notices_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  }
  try {
    Watch(stream);
  } catch (const std::bad_alloc&) {
    ForgetAll();
  }
}

// A name added while the directory is being read may be counted twice, and later be
// looked for in vain. A name removed meanwhile was perhaps never counted.
void Listings::Watch(const Stream& stream) {
  struct stat status;
  const int directory = dirfd(stream.get());
  if (fstat(directory, &status) != 0) {
    return;
  }
  const std::string path = "/proc/self/fd/" + std::to_string(directory);
  const int watch =
      inotify_add_watch(notices_, path.c_str(), kAdded | kRemoved | IN_DELETE_SELF);
  if (watch < 0) {
    return;
  }
  Listing& listing = listings_[watch];
  listing = {status.st_dev, status.st_ino, {}, ++uses_};
  while (const dirent* entry = readdir(stream.get())) {
    if (listing.names.size() == kMostNames) {
      Forget(watch);
      return;
    }
    listing.names.insert(HashOf(entry->d_name));
  }
  beingRead_ = watch;
  TakeNotices();
  beingRead_ = kNone;
}

// When memory runs out, everything is forgotten.
void Listings::TakeNotices() try {
  alignas(inotify_event) std::array<char, 16384> buffer;
  while (IsNotified()) {
    const ssize_t size =
        Retried([&] { return read(notices_, buffer.data(), buffer.size()); });
    if (size <= 0) {
      break;
    }
    for (ssize_t at = 0; at < size;) {
      const auto* notice = reinterpret_cast<const inotify_event*>(buffer.data() + at);
      at += static_cast<ssize_t>(sizeof *notice + notice->len);
      Take(*notice);
    }
  }
  MakeRoom();
} catch (const std::bad_alloc&) {
  ForgetAll();
}

void Listings::Take(const inotify_event& notice) {
  if ((notice.mask & IN_Q_OVERFLOW) != 0) {
    ForgetAll();
  }
  const auto found = listings_.find(notice.wd);
  if (found == listings_.end()) {
    return;
  }
  auto& names = found->second.names;
  if ((notice.mask & kIsNoMore) != 0) {
    listings_.erase(found);
  } else if ((notice.mask & kAdded) != 0) {
    names.insert(HashOf(notice.name));
  } else if (notice.wd != beingRead_) {
    const auto name = names.find(HashOf(notice.name));
    if (name != names.end()) {
      names.erase(name);
    }
  }
}

size_t Listings::NameCount() const {
  size_t count = 0;
  for (const auto& [watch, listing] : listings_) {
    count += listing.names.size();
  }
  return count;
}

void Listings::Forget(int watch) {
  inotify_rm_watch(notices_, watch);
  listings_.erase(watch);
}

// Forgets what has been unused for longest.
void Listings::MakeRoom() {
  while (listings_.size() > kMostDirectories || NameCount() > kMostNames) {
    const auto oldest = std::min_element(
        listings_.begin(), listings_.end(), [](const auto& one, const auto& other) {
          return one.second.lastUse < other.second.lastUse;
        });
    Forget(oldest->first);
  }
}

// Whether notices arrive. The program may have closed their descriptor, and its number
// may be another file's.
bool Listings::IsNotified() {
  constexpr std::string_view kKind = "anon_inode:inotify";
  if (notices_ == kNone) {
    return false;
  }
  std::array<char, kKind.size() + 1> kind;
  const std::string link = "/proc/self/fd/" + std::to_string(notices_);
  const ssize_t size = readlink(link.c_str(), kind.data(), kind.size());
  if (size < 0 || std::string_view(kind.data(), static_cast<size_t>(size)) != kKind) {
    notices_ = kNone;
    listings_.clear();
  }
  return notices_ != kNone;
}

void Listings::ForgetAll() {
  listings_.clear();
  if (notices_ != kNone) {
    close(notices_);
  }
  notices_ = kNone;
}

// A child has the parent's descriptor, and what it read there the parent would miss.
bool Listings::MindForks() {
  const auto before = [] { TheListings().mutex_.lock(); };
  const auto inParent = [] { TheListings().mutex_.unlock(); };
  const auto inChild = [] {
    TheListings().ForgetAll();
    TheListings().mutex_.unlock();
  };
  return pthread_atfork(before, inParent, inChild) == 0;
}

}  // namespace

std::string FindSpelling(const std::string& directory, const std::string& name) {
  const std::string folded = Folded(name);
  if (!TheListings().MayHold(directory, HashOf(folded))) {
    return "";
  }
  const Stream stream(opendir(directory.c_str()), closedir);
  size_t count = 0;
  while (const dirent* entry = stream ? readdir(stream.get()) : nullptr) {
    if (IsFolded(entry->d_name, folded)) {
      return entry->d_name;
    }
    ++count;
  }
  if (count >= kFewNames) {
    TheListings().Remember(directory);
  }
  return "";
}

}  // namespace posix
