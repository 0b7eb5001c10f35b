#include "common/cs.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/system.h"

// Owner and Count are written only by the thread that holds the mutex; others read them to learn that it is not they.
struct CSLock {
  std::timed_mutex Mutex;
  std::atomic<std::thread::id> Owner;
  std::atomic<std::uint32_t> Count{0};
};

namespace {

// The number by which the trap record tells this check, wherever the check stands in the source.
constexpr int kReleaseCheck = 617;
constexpr std::uint32_t kFirstWaitMilliseconds = 2000;

bool Waited(std::timed_mutex& mutex, std::uint32_t milliseconds) {
  if (milliseconds == kWaitForever) {
    mutex.lock();
    return true;
  }
  // By the system's clock, since the thread sanitizer does not see the wait by the steady one. Nothing depends on how
  // exact the time-out is.
  return mutex.try_lock_until(std::chrono::system_clock::now() + std::chrono::milliseconds(milliseconds));
}

}  // namespace

CSLock& CSCommonLock() {
  // Never destroyed: memory is returned under it until the last static object has gone.
  static CSLock& lock = *new CSLock;
  return lock;
}

std::uint32_t CSLockIt(CSLock& lock, std::uint32_t milliseconds) {
  if (lock.Owner == std::this_thread::get_id() && lock.Count != 0) {
    ++lock.Count;
    return 0;
  }
  if (!Waited(lock.Mutex, milliseconds)) return kWaitTimedOut;
  lock.Owner = std::this_thread::get_id();
  lock.Count = 1;
  return 0;
}

void CSLockCommon() {
  if (CSLockIt(CSCommonLock(), kFirstWaitMilliseconds) == kWaitTimedOut) CSLockIt(CSCommonLock(), kWaitForever);
}

void CSUnlockIt() {
  CSLock& lock = CSCommonLock();
  const std::uint32_t count = lock.Count;
  if (count == 0 || lock.Owner != std::this_thread::get_id()) CSTrap(__FILE__, __TIMESTAMP__, kReleaseCheck, count);
  lock.Count = count - 1;
  if (count == 1) {
    lock.Owner = std::thread::id();
    lock.Mutex.unlock();
  }
}

void* CSGetMem(std::uint64_t bytes) {
  CSLockCommon();
  // The system's allocator may answer a request for nothing with null, which would read as a failure here.
  void* block = bytes <= PTRDIFF_MAX ? std::malloc(bytes > 0 ? static_cast<std::size_t>(bytes) : 1) : nullptr;
  CSUnlockIt();
  return block;
}

void CSFreeMem(void* block) {
  CSLockCommon();
  std::free(block);
  CSUnlockIt();
}

void CSTrap(const char* sourceFile, const char* timeStamp, int line, long long value) {
  const std::string_view path(sourceFile);
  const std::size_t cut = path.find_last_of("/\\");
  const std::string name(cut == std::string_view::npos ? path : path.substr(cut + 1));
  if (std::FILE* file = OpenTemporaryForWrite(TemporaryFilePath("cstrap.txt")); file != nullptr) {
    std::fprintf(file, "cstrap line %d file %s (%s) value %lld\n", line, name.c_str(), timeStamp, value);
    std::fclose(file);
  }
  BreakIntoDebugger();
}
