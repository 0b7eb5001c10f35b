#pragma once

// The pace of a run: rate control and status lines.

#include <cstdint>

#include "engine/pace_clock.h"
#include "mq/mqi.h"

struct Parameters;

struct RateState {
  int RateGuess = 1000;                    // messages allowed in the current one-second period
  int RateDepth = 0;                       // adaptive: the target's depth at the start of the period
  std::int64_t RateEndTime = 0;            // seconds; 0: none
  std::int64_t RatePeriodStart = 0;        // milliseconds, steady
  int RatePeriodCount = 0;                 // messages processed in the current period
  bool RateClamp = false;                  // adaptive: limit the next adjustment to 5 %
  const PaceClock* Clock = &kSystemClock;  // of the status lines too
};

struct StatusState {
  std::uint32_t StatusMsgs = 0;     // messages since the last status line
  std::uint32_t StatusCarry = 0;    // messages not yet included in a throughput figure
  std::int64_t LastStatusTime = 0;  // seconds
  std::int64_t LastRateTime = 0;    // seconds
};

// Before the first message, when a rate is required.
void StartRate(Parameters& run);
// After every message, when a rate is required. May commit and sleep; sets `ended` when the rate's end time has passed.
MQLONG PaceMessage(Parameters& run, bool& ended);
// At the start of every iteration with status reporting on: prints a line when its interval has passed.
void CheckStatus(Parameters& run);
