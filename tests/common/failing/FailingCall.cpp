#include "common/failing/FailingCall.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace {

struct Plan {
  SystemCall call = {};
  DWORD code = 0;
  int callsToGo = 0;  // 0: no failure is planned
  bool happened = false;
};

Plan plan;
constexpr DWORD kNoLimit = 0xFFFFFFFF;
DWORD writeLimit = kNoLimit;
std::function<void(DWORD)> insteadOfSleep;
thread_local CreateFileArguments lastCreateFile;  // other threads open files meanwhile

struct {
  bool isFaked = false;
  ULONGLONG toCaller = 0;
  ULONGLONG onDrive = 0;
  std::string asked;
} disk;

struct {
  std::atomic<int> begun = 0;  // by any thread
  std::atomic<int> closed = 0;
} searches;

struct {
  int calls = 0;
  HANDLE handle = nullptr;
  DWORD mask = 0;
  DWORD flags = 0;
} inheritance;

struct {
  std::function<void()> atEnd;
  WORD granted = 0;
  std::vector<WORD> starts;
  int ends = 0;
} sockets;

}  // namespace

FailingCall::FailingCall(SystemCall call, DWORD code, int nth) {
  redirection::Install();
  plan = {call, code, nth, false};
}

FailingCall::~FailingCall() {
  plan = {};
}

bool FailingCall::Happened() const {
  return plan.happened;
}

ShortWrites::ShortWrites(DWORD bytes) {
  redirection::Install();
  writeLimit = bytes;
}

ShortWrites::~ShortWrites() {
  writeLimit = kNoLimit;
}

InsteadOfSleep::InsteadOfSleep(std::function<void(DWORD)> action) {
  redirection::Install();
  insteadOfSleep = std::move(action);
}

InsteadOfSleep::~InsteadOfSleep() {
  insteadOfSleep = nullptr;
}

FakeDiskSpace::FakeDiskSpace(ULONGLONG toCaller, ULONGLONG onDrive) {
  redirection::Install();
  disk = {true, toCaller, onDrive, {}};
}

FakeDiskSpace::~FakeDiskSpace() {
  disk = {};
}

const std::string& FakeDiskSpace::Asked() const {
  return disk.asked;
}

WatchedSearches::WatchedSearches() {
  redirection::Install();
  searches.begun = searches.closed = 0;
}

int WatchedSearches::Begun() const {
  return searches.begun;
}

int WatchedSearches::Closed() const {
  return searches.closed;
}

WatchedInheritance::WatchedInheritance() {
  redirection::Install();
  inheritance = {};
}

int WatchedInheritance::Calls() const {
  return inheritance.calls;
}

HANDLE WatchedInheritance::Handle() const {
  return inheritance.handle;
}

DWORD WatchedInheritance::Mask() const {
  return inheritance.mask;
}

DWORD WatchedInheritance::Flags() const {
  return inheritance.flags;
}

WatchedCreateFile::WatchedCreateFile() {
  redirection::Install();
}

std::ostream& operator<<(std::ostream& out, const CreateFileArguments& arguments) {
  return out << std::hex << "access " << arguments.access << ", shares "
             << arguments.shares << ", creation " << arguments.creation << ", flags "
             << arguments.flags << ", security " << arguments.hasSecurity << ", template "
             << arguments.hasTemplate << std::dec;
}

CreateFileArguments WatchedCreateFile::Last() const {
  return lastCreateFile;
}

WatchedSockets::WatchedSockets(std::function<void()> atEnd, WORD granted) {
  redirection::Install();
  sockets = {std::move(atEnd), granted, {}, 0};
}

WatchedSockets::~WatchedSockets() {
  sockets = {};
}

const std::vector<WORD>& WatchedSockets::Starts() const {
  return sockets.starts;
}

int WatchedSockets::Ends() const {
  return sockets.ends;
}

bool redirection::Fails(SystemCall call) {
  if (call != plan.call || plan.callsToGo == 0 || --plan.callsToGo != 0) {
    return false;
  }
  plan.happened = true;
  SetLastError(plan.code);
  return true;
}

DWORD redirection::WriteLimit(DWORD count) {
  return std::min(count, writeLimit);
}

bool redirection::ReplaceSleep(DWORD milliseconds) {
  if (!insteadOfSleep) {
    return false;
  }
  insteadOfSleep(milliseconds);
  return true;
}

bool redirection::ReplaceDiskSpace(const char* directory, ULARGE_INTEGER* toCaller,
                                   ULARGE_INTEGER* onDrive) {
  if (!disk.isFaked) return false;
  disk.asked = directory;
  toCaller->QuadPart = disk.toCaller;
  onDrive->QuadPart = disk.onDrive;
  return true;
}

void redirection::Record(const CreateFileArguments& arguments) {
  lastCreateFile = arguments;
}

void redirection::RecordSearchBegin(HANDLE search) {
  if (search != INVALID_HANDLE_VALUE) ++searches.begun;
}

void redirection::RecordSearchEnd() {
  ++searches.closed;
}

void redirection::RecordInheritance(HANDLE handle, DWORD mask, DWORD flags) {
  inheritance = {inheritance.calls + 1, handle, mask, flags};
}

void redirection::RecordSocketStart(WORD asked, WORD& granted) {
  sockets.starts.push_back(asked);
  if (sockets.granted != 0) granted = sockets.granted;
}

void redirection::RecordSocketEnd() {
  ++sockets.ends;
  if (sockets.atEnd) sockets.atEnd();
}
