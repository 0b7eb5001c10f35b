#include "common/cs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include "platform/system.h"

// The sanitizers stop the process at a request that no heap can supply unless they are told not to.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// What another thread gets that asks for the common lock now.
std::uint32_t LockFromAnotherThread(std::uint32_t milliseconds) {
  std::uint32_t result = 0;
  std::thread([&] {
    result = CSLockIt(CSCommonLock(), milliseconds);
    if (result == 0) CSUnlockIt();
  }).join();
  return result;
}

TEST(CommonLock, IsHeldUntilReleasedAsOftenAsTaken) {
  CSLockCommon();
  EXPECT_EQ(CSLockIt(CSCommonLock(), 0), 0U);
  CSUnlockIt();
  EXPECT_EQ(LockFromAnotherThread(10), kWaitTimedOut);
  CSUnlockIt();
  EXPECT_EQ(LockFromAnotherThread(10), 0U);
}

TEST(CommonLock, IsWaitedForLongerThanTheFirstTimeOut) {
  CSLockCommon();
  std::atomic<bool> waited = false;
  std::thread other([&] {
    CSLockCommon();
    waited = true;
    CSUnlockIt();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(2200));
  EXPECT_FALSE(waited);
  CSUnlockIt();
  other.join();
  EXPECT_TRUE(waited);
}

std::string TrapRecord() {
  std::ifstream file(TemporaryFilePath("cstrap.txt"));
  std::string line;
  std::getline(file, line);
  return line;
}

// One test, since all traps write the same file.
TEST(Trap, RecordsWhereTheCheckFailedAndEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(CSTrap("c:\\src\\files\\tarvofnc.c", "Fri Jan 10 15:23:19 2025", 42, -7), "");
  EXPECT_EQ(TrapRecord(), "cstrap line 42 file tarvofnc.c (Fri Jan 10 15:23:19 2025) value -7");

  const auto releaseTooMany = [] {
    CSLockCommon();
    CSLockCommon();
    for (int i = 0; i < 3; ++i) CSUnlockIt();
  };
  EXPECT_DEATH(releaseTooMany(), "");
  EXPECT_TRUE(TrapRecord().starts_with("cstrap line 617 file cs.cpp (")) << TrapRecord();
  EXPECT_TRUE(TrapRecord().ends_with(") value 0")) << TrapRecord();

  const auto releaseByAnother = [] {
    CSLockCommon();
    CSLockCommon();
    std::thread(CSUnlockIt).join();
  };
  EXPECT_DEATH(releaseByAnother(), "");
  EXPECT_TRUE(TrapRecord().ends_with(") value 2")) << TrapRecord();
}

TEST(Memory, RefusesWhatTheHeapCannotSupplyAndLeavesTheLockFree) {
  for (const std::uint64_t bytes : {UINT64_MAX, std::uint64_t{1} << 62}) EXPECT_EQ(CSGetMem(bytes), nullptr);
  EXPECT_EQ(LockFromAnotherThread(10), 0U);
  CSFreeMem(nullptr);
  void* none = CSGetMem(0);
  EXPECT_NE(none, nullptr);
  CSFreeMem(none);
  auto* block = static_cast<char*>(CSGetMem(10000));
  ASSERT_NE(block, nullptr);
  std::memset(block, 1, 10000);
  CSFreeMem(block);
}

}  // namespace
