#pragma once

// How long messages are waited for (-w).

#include <cstdint>

#include "common/clock.h"
#include "mq/mqi.h"
#include "options/options.h"

// How long one call waits, in milliseconds. A longer wait is made of several, so that an interrupt ends it soon.
inline constexpr MQLONG kLongestWait = 500;

// What is left of the wait interval, counted from the last message.
class WaitClock {
 public:
  explicit WaitClock(const InputOptions& input) : input_(input) { Restart(); }
  // A message has come.
  void Restart() { since_ = SteadyMillis(); }
  // Milliseconds; not above 0 when the wait is over. What nothing limits is an hour each time.
  std::int64_t Left() const {
    constexpr std::int64_t kEndless = 3600 * 1000;
    if (input_.WaitInterval == -1) return kEndless;
    return since_ + std::int64_t{input_.WaitInterval} * 1000 - SteadyMillis();
  }

 private:
  const InputOptions& input_;
  std::int64_t since_ = 0;  // steady milliseconds
};
