#pragma once

// Where every pause of a run takes its time from; tests put their own in its place.

#include <cstdint>
#include <ctime>

#include "common/clock.h"
#include "platform/interrupt.h"

struct PaceClock {
  std::int64_t (*Ticks)();             // milliseconds, steady
  std::int64_t (*Seconds)();           // since 1970
  void (*Sleep)(std::int64_t millis);  // milliseconds; an interrupt ends it
};
// Defined here because every run points to it, also in programs that pace nothing.
inline const PaceClock kSystemClock = {
    SteadyMillis,
    [] { return static_cast<std::int64_t>(std::time(nullptr)); },
    PauseUnlessInterrupted,
};
