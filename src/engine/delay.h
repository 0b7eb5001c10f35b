#pragma once

// The pause before each message (-D).

#include <cstdint>
#include <optional>

#include "engine/pace_clock.h"
#include "mq/mqi.h"
#include "options/options.h"

class Delay {
 public:
  explicit Delay(const PaceOptions& pace, const PaceClock& clock = kSystemClock) : pace_(pace), clock_(clock) {}

  // Sleeps as long as was asked for before a message with this descriptor goes on.
  void Before(const MQMD& descriptor);

 private:
  void AsPut(const MQMD& descriptor);
  void AtRandom();

  const PaceOptions& pace_;
  const PaceClock& clock_;
  std::optional<std::int64_t> start_;  // steady milliseconds of the reference message; none yet
  char startDate_[8]{};                // when it was put
  char startTime_[8]{};
  std::uint32_t random_ = 0;  // 0: not seeded yet
};
