#pragma once

// The common services: one process-wide recursive lock, memory blocks taken and returned under it, and the trap that
// records where an internal check failed and stops the process. They know nothing of MQ or files.

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <thread>

// A recursive lock with a time-out. `Owner` and `Count` are written only by the thread that holds the mutex.
struct CSLock;

inline constexpr std::uint32_t kWaitForever = 0xFFFFFFFFU;
inline constexpr std::uint32_t kWaitTimedOut = 258;

// The one lock that serialises memory management and the loading of MQ libraries.
CSLock& CSCommonLock();

// Takes `lock`, waiting at most `milliseconds` (kWaitForever: no limit). Returns 0 when the lock is held, kWaitTimedOut
// when the time ran out. The thread that holds it may take it again; each take needs its own release.
std::uint32_t CSLockIt(CSLock& lock, std::uint32_t milliseconds);
// Takes the common lock, however long that takes.
void CSLockCommon();
// Releases the common lock once. A release by a thread that does not hold it ends in CSTrap.
void CSUnlockIt();

// A block of at least `bytes` bytes, or null. Returned by CSFreeMem, which accepts null.
void* CSGetMem(std::uint64_t bytes);
void CSFreeMem(void* block);

// Writes the trap record (source file without its path, its time stamp, line, value) to the trap file and stops the
// process: into the debugger when there is one, abnormally otherwise. A trap file that cannot be written does not stop
// it.
[[noreturn]] void CSTrap(const char* sourceFile, const char* timeStamp, int line, long long value);

// Lets standard containers take their memory from CSGetMem.
template <typename T>
struct CSAllocator {
  using value_type = T;
  CSAllocator() = default;
  template <typename U>
  CSAllocator(const CSAllocator<U>&) {}  // NOLINT(google-explicit-constructor): required of allocators
  T* allocate(std::size_t n) {
    if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    void* block = CSGetMem(n * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* block, std::size_t) { CSFreeMem(block); }
  friend bool operator==(const CSAllocator&, const CSAllocator&) { return true; }
};
