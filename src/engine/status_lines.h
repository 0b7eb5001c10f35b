#pragma once

// The status lines of a run (-vs): what was read and written so far, every so many messages or seconds.

#include <cstdint>

#include "common/console.h"
#include "engine/pace_clock.h"
#include "options/options.h"

class StatusLines {
 public:
  // `start`: seconds since 1970, from when on throughput is counted.
  StatusLines(const DisplayOptions& asked, Console& screen, std::int64_t start, const PaceClock& clock = kSystemClock)
      : asked_(asked), screen_(screen), clock_(clock), lastLine_(start), lastRate_(start) {}

  // A message was read.
  void Count() { ++messages_; }
  // Prints a line when its interval has passed. Both are numbers of messages.
  void Check(std::int64_t read, std::int64_t written);

 private:
  void Print(std::int64_t now, std::int64_t read, std::int64_t written);

  const DisplayOptions& asked_;
  Console& screen_;
  const PaceClock& clock_;
  std::uint32_t messages_ = 0;  // since the last line
  std::uint32_t carried_ = 0;   // not yet included in a throughput figure
  std::int64_t lastLine_;       // seconds
  std::int64_t lastRate_;       // seconds: when throughput was last told
};
