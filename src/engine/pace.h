#pragma once

// The required rate of a transfer (-R): so many messages a second, or as many as the target's consumer takes.

#include <cstdint>

#include "common/result.h"
#include "engine/pace_clock.h"
#include "engine/unit_of_work.h"
#include "mq/output_queues.h"
#include "options/options.h"

class Pace {
 public:
  // Begins with the first period. `queues` are the output queues; an adaptive rate asks for their depth.
  Pace(const PaceOptions& asked, bool details, const OutputQueues& queues, const PaceClock& clock = kSystemClock);

  // After every message. May commit `unit` and sleep; sets `ended` when the rate's end time has passed.
  Result After(UnitOfWork& unit, bool& ended);
  // Whether the end time has passed; without one, never.
  bool over() const { return endTime_ != 0 && clock_.Seconds() > endTime_; }
  void Sleep(std::int64_t millis) const { clock_.Sleep(millis); }
  // How many messages the current period of an adaptive rate may have.
  int guess() const { return guess_; }

 private:
  // What the consumer of the target queue did in a period of the adaptive rate.
  struct Period {
    std::int64_t Elapsed = 0;   // milliseconds
    std::int64_t Remain = 0;    // of the second, negative when it took longer
    int Depth = 0;              // of the target now
    std::int64_t Consumed = 0;  // negative when others put to the target too
  };

  void StartPeriod();
  std::int64_t Elapsed() const { return clock_.Ticks() - periodStart_; }
  bool EndTimePassed() const;
  Result Fixed(UnitOfWork& unit, bool& ended);
  Result Adaptive(UnitOfWork& unit, bool& ended);
  double Adjustment(const Period& period);
  void AdjustGuess(const Period& period);
  void ShowPeriodRate(const Period& period) const;
  void SleepThrough(const Period& period) const;

  const PaceOptions& asked_;
  bool details_;  // every step of an adaptive rate is told
  const OutputQueues& queues_;
  const PaceClock& clock_;
  int guess_;                     // messages allowed in the current one-second period
  int depth_ = 0;                 // adaptive: the target's depth at the start of the period
  std::int64_t endTime_ = 0;      // seconds; 0: none
  std::int64_t periodStart_ = 0;  // milliseconds, steady
  int count_ = 0;                 // messages processed in the current period
  bool clamp_ = false;            // adaptive: limit the next adjustment to 5 %
};
